// SPDX-License-Identifier: Apache-2.0

import { useEffect, useMemo, useRef, useSyncExternalStore } from "react";

import { locale } from "../../ui/text.ts";
import { useService, useServiceEvents, useSituation } from "../../ui/service.ts";
import { AlertListModel, type ListState } from "./AlertListModel.ts";
import { type Options, queryOf } from "./query.ts";

/** The list for these filters, which follows the service; anew when they change. */
export function useAlertList(filters: Options): [AlertListModel, ListState] {
  const { api } = useService();
  const { generation } = useSituation();
  const address = JSON.stringify(filters);
  const model = useMemo(
    () => new AlertListModel(api, queryOf(JSON.parse(address) as Options), locale),
    [api, address],
  );
  useEffect(() => {
    void model.load();
    return () => model.dispose();
  }, [model]);
  const seen = useRef(generation);
  useEffect(() => {
    // The first connection comes while the first page is under way; each later one may have missed changes.
    if (seen.current > 0 && generation !== seen.current) model.take([{ kind: "lost", sequence: 0, identifier: undefined, alert: undefined }]);
    seen.current = generation;
  }, [model, generation]);
  useServiceEvents((events) => model.take(events));
  return [model, useSyncExternalStore(model.subscribe, model.getState)];
}
