// SPDX-License-Identifier: Apache-2.0

import { useCallback, useEffect, useRef } from "react";

/** Calls a little later, and once for all the times it was asked to within that. */
export function useSoon(call: () => void, patience = 500): () => void {
  const latest = useRef(call);
  const timer = useRef<ReturnType<typeof setTimeout>>();
  useEffect(() => {
    latest.current = call;
  });
  useEffect(() => () => clearTimeout(timer.current), []);
  return useCallback(() => {
    timer.current ??= setTimeout(() => {
      timer.current = undefined;
      latest.current();
    }, patience);
  }, [patience]);
}
