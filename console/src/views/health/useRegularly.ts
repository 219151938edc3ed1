// SPDX-License-Identifier: Apache-2.0

import { useEffect } from "react";

/** Calls again and again, while somebody sees the page. */
export function useRegularly(interval: number, call: () => void): void {
  useEffect(() => {
    const timer = setInterval(() => {
      if (!document.hidden && !cockpit.hidden) call();
    }, interval);
    return () => clearInterval(timer);
  }, [interval, call]);
}
