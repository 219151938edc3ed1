// SPDX-License-Identifier: Apache-2.0
// Small pieces that several views are made of.

import { Alert as Notice } from "@patternfly/react-core/dist/esm/components/Alert/Alert.js";
import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { Spinner } from "@patternfly/react-core/dist/esm/components/Spinner/Spinner.js";
import type { ReactNode } from "react";

import { _, clip, formatAge, formatDate } from "./text.ts";
import { errorText } from "./service.ts";

/** A text of somebody else's: what it does to the direction of writing ends with it. */
export function Foreign({ children, most = 1000 }: { children: string; most?: number }) {
  return <bdi>{clip(children, most)}</bdi>;
}

/** What went wrong, in the place where it did; with `retry`, a way to ask again. */
export function Problem({ title, error, retry }: { title: string; error: unknown; retry?: () => void }) {
  if (error === undefined) return null;
  const again = retry && (
    <Button variant="link" isInline onClick={retry}>
      {_("Try again")}
    </Button>
  );
  return (
    <div role="alert">
      <Notice component="p" isInline variant="danger" title={title} actionLinks={again}>
        <Foreign most={2000}>{errorText(error)}</Foreign>
      </Notice>
    </div>
  );
}

export function Loading({ label = _("Loading…") }: { label?: string }) {
  return (
    <div className="va-loading" role="status">
      <Spinner size="lg" aria-label={label} />
    </div>
  );
}

/** A date, with its age for a reader who wants to know how long ago. */
export function Moment({ date, isShort = false }: { date: number | undefined; isShort?: boolean }) {
  if (date === undefined) return <>{"–"}</>;
  return (
    <time title={formatAge(date)}>
      {formatDate(date, isShort)}
    </time>
  );
}

/** A field with its name above it. */
export function Field({ id, label, children }: { id: string; label: string; children: ReactNode }) {
  return (
    <div className="va-field">
      <label className="va-field__label" htmlFor={id}>
        {label}
      </label>
      {children}
    </div>
  );
}

/** A table with its name; where the window is narrow, rows become blocks with each cell's heading in it. */
export function Table({ label, heads, children }: { label: string; heads: string[]; children: ReactNode }) {
  return (
    <table className="pf-v6-c-table pf-m-grid-md pf-m-compact" aria-label={label}>
      <thead className="pf-v6-c-table__thead">
        <tr className="pf-v6-c-table__tr">
          {heads.map((head) => (
            <th key={head} scope="col" className="pf-v6-c-table__th">
              {head}
            </th>
          ))}
        </tr>
      </thead>
      <tbody className="pf-v6-c-table__tbody">{children}</tbody>
    </table>
  );
}

export function Cell({ label, children, isAction = false }: { label: string; children: ReactNode; isAction?: boolean }) {
  return (
    <td className={`pf-v6-c-table__td${isAction ? " va-cell-action" : ""}`} data-label={label}>
      {children}
    </td>
  );
}

export function TableRow({ children }: { children: ReactNode }) {
  return <tr className="pf-v6-c-table__tr">{children}</tr>;
}
