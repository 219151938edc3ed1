// SPDX-License-Identifier: Apache-2.0
//
// Rows are equally high, and only those in the window are in the page; the list is as high as all of them, so
// the window's own scrolling works, and so does a hundred thousand.

import { Checkbox } from "@patternfly/react-core/dist/esm/components/Checkbox/Checkbox.js";
import { Label } from "@patternfly/react-core/dist/esm/components/Label/Label.js";
import { type CSSProperties, type KeyboardEvent, memo, useEffect, useRef, useState } from "react";

import { href } from "../../ui/location.ts";
import { Foreign, Moment } from "../../ui/parts.tsx";
import { _, format } from "../../ui/text.ts";
import type { Row } from "./AlertListModel.ts";
import type { Options } from "./query.ts";
import { useVirtualRange } from "./useVirtualRange.ts";

/** The widths below which a row is a block of three lines, and the heights of rows, in rem. */
const NARROW = "(max-width: 48rem)";
const HEIGHT = 3.25;
const NARROW_HEIGHT = 6;

function useRowHeight(): number {
  const [isNarrow, setNarrow] = useState(() => window.matchMedia(NARROW).matches);
  useEffect(() => {
    const query = window.matchMedia(NARROW);
    const listen = () => setNarrow(query.matches);
    query.addEventListener("change", listen);
    return () => query.removeEventListener("change", listen);
  }, []);
  const rem = parseFloat(getComputedStyle(document.documentElement).fontSize);
  return (isNarrow ? NARROW_HEIGHT : HEIGHT) * rem;
}

export function StateLabels({ row }: { row: Pick<Row, "isUnread" | "isUnresolved" | "isDeleted"> }) {
  if (row.isDeleted) return <Label isCompact>{_("Deleted")}</Label>;
  return (
    <span className="va-states">
      {row.isUnresolved ? (
        <Label isCompact status="warning">{_("Unresolved")}</Label>
      ) : (
        <Label isCompact status="success">{_("Resolved")}</Label>
      )}
      {row.isUnread && <Label isCompact status="info">{_("Unread")}</Label>}
    </span>
  );
}

interface RowProps {
  row: Row;
  index: number;
  style: CSSProperties;
  bundle: string;
  filters: Options;
  isSelected: boolean;
  onSelect: (id: string, isSelected: boolean) => void;
}

function subjectOf({ id, subject, isDeleted }: Row, filters: Options, index: number) {
  if (id === undefined || isDeleted) return <Foreign>{subject}</Foreign>;
  return (
    <a href={href(["alerts", id], filters)} data-index={index} data-alert={id}>
      <Foreign>{subject}</Foreign>
    </a>
  );
}

const AlertRow = memo(function AlertRow({ row, index, style, bundle, filters, isSelected, onSelect }: RowProps) {
  const { id, isDeleted } = row;
  const name = format(_("Select $0"), row.subject);
  const kind = row.type === "" ? "" : ` · ${row.type}`;
  return (
    <div role="row" aria-rowindex={index + 2} style={style}
      className={`va-row${row.isUnread ? " va-row--unread" : ""}${isDeleted ? " va-row--deleted" : ""}`}>
      <div role="cell" className="va-row__check">
        {id !== undefined && !isDeleted && (
          <Checkbox id={`select-${row.key}`} aria-label={name} isChecked={isSelected} onChange={(_event, is) => onSelect(id, is)} />
        )}
      </div>
      <div role="cell" className="va-row__subject">{subjectOf(row, filters, index)}</div>
      <div role="cell" className="va-row__origin"><Foreign most={100}>{bundle + kind}</Foreign></div>
      <div role="cell" className="va-row__date"><Moment date={row.sentDate} isShort /></div>
      <div role="cell" className="va-row__state"><StateLabels row={row} /></div>
    </div>
  );
});

/** Up and down go from row to row, and bring the next one into the window. */
function moveFocus(event: KeyboardEvent<HTMLElement>): void {
  const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
  const from = (event.target as HTMLElement).dataset.index;
  if (step === undefined || from === undefined) return;
  event.preventDefault();
  const next = event.currentTarget.querySelector<HTMLElement>(`[data-index="${Number(from) + step}"]`);
  next?.focus({ preventScroll: true });
  next?.scrollIntoView({ block: "nearest" });
}

interface AlertTableProps {
  rows: readonly Row[];
  hasMore: boolean;
  bundles: Record<string, string>;
  filters: Options;
  selected: ReadonlySet<string>;
  onSelect: (id: string, isSelected: boolean) => void;
  onSelectAll: (areSelected: boolean) => void;
  /** Called when the end of what has been read comes near. */
  onNeedMore: () => void;
}

function Head({ areAll, onSelectAll }: { areAll: boolean; onSelectAll: (are: boolean) => void }) {
  return (
    <div role="row" aria-rowindex={1} className="va-row va-row--head">
      <div role="columnheader" className="va-row__check">
        <Checkbox id="select-all" aria-label={_("Select all that are listed")} isChecked={areAll} onChange={(_event, are) => onSelectAll(are)} />
      </div>
      <div role="columnheader" className="va-row__subject">{_("Alert")}</div>
      <div role="columnheader" className="va-row__origin">{_("Bundle and kind")}</div>
      <div role="columnheader" className="va-row__date">{_("Since")}</div>
      <div role="columnheader" className="va-row__state">{_("State")}</div>
    </div>
  );
}

/** Rows before the end at which more of them are asked for. */
const AHEAD = 60;

export function AlertTable(props: AlertTableProps) {
  const { rows, hasMore, bundles, filters, selected, onSelect, onSelectAll, onNeedMore } = props;
  const list = useRef<HTMLDivElement>(null);
  const height = useRowHeight();
  const { first, end } = useVirtualRange(list, rows.length, height);
  useEffect(() => {
    if (hasMore && end > rows.length - AHEAD) onNeedMore();
  }, [hasMore, end, rows.length, onNeedMore]);
  const areAll = selected.size > 0 && rows.every(({ id, isDeleted }) => id === undefined || isDeleted || selected.has(id));
  return (
    // eslint-disable-next-line jsx-a11y/no-noninteractive-element-interactions -- its links have the focus, the keys go from one to the next
    <div role="table" className="va-list" aria-label={_("Alerts")} aria-rowcount={hasMore ? -1 : rows.length + 1} onKeyDown={moveFocus}>
      <Head areAll={areAll} onSelectAll={onSelectAll} />
      <div ref={list} role="rowgroup" className="va-list__rows" style={{ height: rows.length * height }}>
        {rows.slice(first, end).map((row, at) => (
          <AlertRow key={row.key} row={row} index={first + at} style={{ top: (first + at) * height, height }} filters={filters}
            bundle={bundles[row.bundle] ?? row.bundle} isSelected={row.id !== undefined && selected.has(row.id)} onSelect={onSelect} />
        ))}
      </div>
    </div>
  );
}
