// SPDX-License-Identifier: Apache-2.0

import { useCallback, useLayoutEffect, useRef, useState } from "react";

import type { Place } from "../../ui/location.ts";
import { useBundleNames } from "../../ui/useBundleNames.ts";
import { AlertDetail } from "./AlertDetail.tsx";
import { AlertList } from "./AlertList.tsx";
import { filtersOf } from "./query.ts";
import { useAlertList } from "./useAlertList.ts";

/** The list, or one alert of it; the list stays as it was while one of its alerts is looked at. */
export function AlertsView({ place }: { place: Place }) {
  const filters = filtersOf(place.options);
  const [model, state] = useAlertList(filters);
  const bundles = useBundleNames();
  const [left, setLeft] = useState<{ scroll: number; id: string | undefined }>({ scroll: 0, id: undefined });
  const id = place.path[1];
  const scroll = useRef(0);

  // Where the reader was, for the way back.
  useLayoutEffect(() => {
    if (id === undefined) return;
    setLeft({ scroll: scroll.current, id });
    window.scrollTo(0, 0);
  }, [id]);
  const noteScroll = useCallback((top: number) => void (scroll.current = top), []);

  if (id !== undefined) return <AlertDetail key={id} id={id} filters={filters} bundles={bundles} model={model} />;
  return <AlertList model={model} state={state} filters={filters} bundles={bundles} left={left} onScroll={noteScroll} />;
}
