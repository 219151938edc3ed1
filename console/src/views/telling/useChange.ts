// SPDX-License-Identifier: Apache-2.0

import { useCallback, useState } from "react";

/** One change at a time; its failure stays until the next one. Afterwards, whatever came of it, `after` is called. */
export function useChange(after: () => void) {
  const [isBusy, setBusy] = useState(false);
  const [error, setError] = useState<unknown>();
  const change = useCallback(
    async (act: () => Promise<void>): Promise<boolean> => {
      setBusy(true);
      setError(undefined);
      try {
        await act();
        return true;
      } catch (reason) {
        setError(reason);
        return false;
      } finally {
        setBusy(false);
        after();
      }
    },
    [after],
  );
  return { isBusy, error, change };
}
