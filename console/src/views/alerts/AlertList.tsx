// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { EmptyState, EmptyStateBody } from "@patternfly/react-core/dist/esm/components/EmptyState/index.js";
import CheckCircleIcon from "@patternfly/react-icons/dist/esm/icons/check-circle-icon.js";
import SearchIcon from "@patternfly/react-icons/dist/esm/icons/search-icon.js";
import { useCallback, useEffect, useLayoutEffect, useMemo, useRef, useState } from "react";

import { go } from "../../ui/location.ts";
import { Loading, Problem } from "../../ui/parts.tsx";
import { _, plural } from "../../ui/text.ts";
import type { AlertListModel, ListState, Row } from "./AlertListModel.ts";
import { AlertTable } from "./AlertTable.tsx";
import { BulkBar } from "./BulkBar.tsx";
import { BulkResult } from "./BulkResult.tsx";
import { Filters } from "./Filters.tsx";
import type { Options } from "./query.ts";
import { PruneQuestion } from "./PruneQuestion.tsx";
import { useBulk } from "./useBulk.ts";

interface AlertListProps {
  model: AlertListModel;
  state: ListState;
  filters: Options;
  bundles: Record<string, string>;
  /** Where the reader was, and which alert was looked at since. */
  left: { scroll: number; id: string | undefined };
  onScroll: (top: number) => void;
}

const NOBODY: ReadonlySet<string> = new Set();

function Nothing({ isFiltered }: { isFiltered: boolean }) {
  return isFiltered ? (
    <EmptyState titleText={_("No alert matches these filters")} headingLevel="h2" icon={SearchIcon}>
      <EmptyStateBody>
        <Button variant="link" onClick={() => go(["alerts"])}>{_("Clear filters")}</Button>
      </EmptyStateBody>
    </EmptyState>
  ) : (
    <EmptyState titleText={_("No alerts")} headingLevel="h2" icon={CheckCircleIcon} status="success">
      <EmptyStateBody>{_("When a service raises an alert, it appears here by itself.")}</EmptyStateBody>
    </EmptyState>
  );
}

/** The rows must not move while the reader has scrolled, has chosen some of them, or is at one of them. */
function useHold(model: AlertListModel, isChosen: boolean) {
  const rows = useRef<HTMLDivElement>(null);
  useEffect(() => {
    model.isHeld = () => {
      const list = rows.current;
      if (!list) return true; // one alert is looked at, and the way back leads to where it was
      return isChosen || window.scrollY > 0 || list.contains(document.activeElement) || list.matches(":hover");
    };
  }, [model, isChosen]);
  return rows;
}

function FreshButton({ fresh, show }: { fresh: number; show: () => void }) {
  const text = fresh === Infinity ? _("Show what is new") : plural("Show $0 new alert", "Show $0 new alerts", fresh);
  return (
    <div className="va-fresh" role="status">
      {fresh > 0 && <Button variant="primary" size="sm" onClick={show}>{text}</Button>}
    </div>
  );
}

function useSelection(rows: readonly Row[]) {
  const [selected, setSelected] = useState(NOBODY);
  const select = useCallback((id: string, is: boolean) => {
    setSelected((before) => {
      const after = new Set(before);
      if (is) after.add(id);
      else after.delete(id);
      return after;
    });
  }, []);
  const ids = useCallback((of: readonly Row[]) => of.flatMap(({ id, isDeleted }) => (id !== undefined && !isDeleted ? [id] : [])), []);
  const selectAll = useCallback((are: boolean) => setSelected(are ? new Set(ids(rows)) : NOBODY), [ids, rows]);
  return { selected, setSelected, select, selectAll, ids };
}

export function AlertList({ model, state, filters, bundles, left, onScroll }: AlertListProps) {
  const { rows, hasMore, isLoading, error, fresh } = state;
  const { selected, setSelected, select, selectAll, ids } = useSelection(rows);
  const [isPruning, setPruning] = useState(false);
  const isFiltered = Object.keys(filters).length > 0;
  const isEmpty = rows.length === 0 && !isFiltered;
  const [pruned, setPruned] = useState<number>();
  const unselect = useCallback(() => setSelected(NOBODY), [setSelected]);
  const bulk = useBulk(model, unselect);
  const hold = useHold(model, selected.size > 0);
  const types = useMemo(() => [...new Set(rows.map(({ type }) => type))].filter((type) => type !== "").sort(), [rows]);
  useReturn(left, onScroll);
  useEffect(unselect, [model, unselect]);
  const needMore = useCallback(() => {
    if (error === undefined) void model.loadMore();
  }, [model, error]);
  const show = () => {
    window.scrollTo(0, 0);
    void model.load();
  };
  const selectEverything = async () => {
    if (await model.loadAll(() => true)) setSelected(new Set(ids(model.state.rows)));
  };
  return (
    <>
      <Filters filters={filters} bundles={bundles} types={types} />
      <div className="va-list-head">
        <span role="status">{countText(state)}</span>
        {!isEmpty && <Button variant="secondary" onClick={() => setPruning(true)}>{_("Delete old alerts…")}</Button>}
      </div>
      <BulkResult bulk={bulk} />
      <div role="status">{pruned !== undefined && plural("$0 old alert deleted.", "$0 old alerts deleted.", pruned)}</div>
      <BulkBar selected={selected} bulk={bulk} onClear={unselect}
        selectEverything={hasMore && selected.size === ids(rows).length ? () => void selectEverything() : undefined} />
      <FreshButton fresh={fresh} show={show} />
      {rows.length === 0 && !isLoading && error === undefined && <Nothing isFiltered={isFiltered} />}
      <div ref={hold} aria-busy={isLoading}>
        {rows.length > 0 && (
          <AlertTable rows={rows} hasMore={hasMore} bundles={bundles} filters={filters} selected={selected}
            onSelect={select} onSelectAll={selectAll} onNeedMore={needMore} />
        )}
      </div>
      <Problem title={_("The alerts could not be read")} error={error} retry={() => void (rows.length > 0 && hasMore ? model.loadMore() : model.load())} />
      {isLoading && (rows.length === 0 || hasMore) && <Loading />}
      {isPruning && <PruneQuestion close={() => setPruning(false)} onPruned={(count) => { setPruned(count); void model.load(); }} />}
    </>
  );
}

function countText({ rows, hasMore }: ListState): string {
  if (rows.length === 0) return "";
  const count = rows.length;
  return hasMore ? plural("More than $0 alert", "More than $0 alerts", count) : plural("$0 alert", "$0 alerts", count);
}

/** Back from one alert, the reader is where the reader was: at the same place, on the same alert. */
function useReturn(left: AlertListProps["left"], onScroll: (top: number) => void): void {
  const start = useRef(left);
  useLayoutEffect(() => {
    const { scroll, id } = start.current;
    window.scrollTo(0, scroll);
    if (id === undefined) return undefined;
    const frame = requestAnimationFrame(() => {
      const links = [...document.querySelectorAll<HTMLElement>("[data-alert]")];
      links.find(({ dataset }) => dataset.alert === id)?.focus({ preventScroll: true });
    });
    return () => cancelAnimationFrame(frame);
  }, []);
  useEffect(() => {
    const note = () => onScroll(window.scrollY);
    window.addEventListener("scroll", note, { passive: true });
    return () => window.removeEventListener("scroll", note);
  }, [onScroll]);
}
