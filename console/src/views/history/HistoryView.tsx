// SPDX-License-Identifier: Apache-2.0

import { Card, CardBody, CardTitle } from "@patternfly/react-core/dist/esm/components/Card/index.js";
import { EmptyState, EmptyStateBody } from "@patternfly/react-core/dist/esm/components/EmptyState/index.js";
import { ExpandableSection } from "@patternfly/react-core/dist/esm/components/ExpandableSection/ExpandableSection.js";
import { useCallback, useState } from "react";

import { now, toDay } from "../../service/dates.ts";
import { href } from "../../ui/location.ts";
import { Cell, Foreign, Loading, Problem, Table, TableRow } from "../../ui/parts.tsx";
import { useLoaded, useService } from "../../ui/service.ts";
import { useBundleNames } from "../../ui/useBundleNames.ts";
import { _, format, formatDay, formatNumber, locale, plural } from "../../ui/text.ts";
import { AGES, DAYS, type History, readHistory, readOpenAges } from "./days.ts";
import { dayOptions, Lane } from "./Lane.tsx";

function totals({ days, counts }: History): number[] {
  return days.map((_day, index) => counts.reduce((sum, [, row]) => sum + (row[index] ?? 0), 0));
}

/** A heading for what carries no bundle. */
function nameOf(bundle: string, names: Record<string, string>): string {
  return bundle === "" ? _("Without a bundle") : names[bundle] ?? bundle;
}

function Chart({ history, names }: { history: History; names: Record<string, string> }) {
  const all = totals(history);
  const [first, last] = [history.days[0], history.days[history.days.length - 1]];
  const most = Math.max(1, ...history.counts.flatMap(([, row]) => row));
  return (
    <div className="va-chart">
      <Lane name={_("All bundles")} bundle={undefined} days={history.days} counts={all} most={Math.max(1, ...all)} />
      {history.counts.map(([bundle, row]) => (
        <Lane key={bundle} name={nameOf(bundle, names)} bundle={bundle} days={history.days} counts={row} most={most} />
      ))}
      <div className="va-chart__axis" aria-hidden="true">
        <span>{first && formatDay(first)}</span>
        <span>{last && formatDay(last)}</span>
      </div>
      <p className="va-hint">
        {format(_("The highest bar: $0 of all bundles, $1 of one bundle. Choose a bar to see its alerts."), formatNumber(Math.max(...all)), formatNumber(most))}
      </p>
    </div>
  );
}

function HistoryTable({ history, names }: { history: History; names: Record<string, string> }) {
  const rows = history.days.flatMap((day, index) =>
    history.counts.flatMap(([bundle, row]) => (row[index] ? [{ day, bundle, count: row[index] }] : [])),
  );
  const heads = [_("Day"), _("Bundle"), _("Alerts")];
  return (
    <Table label={_("Alerts a day")} heads={heads}>
      {rows.reverse().map(({ day, bundle, count }) => (
        <TableRow key={`${toDay(day)} ${bundle}`}>
          <Cell label={_("Day")}><a href={href(["alerts"], dayOptions(day, bundle))}>{formatDay(day)}</a></Cell>
          <Cell label={_("Bundle")}><Foreign>{nameOf(bundle, names)}</Foreign></Cell>
          <Cell label={_("Alerts")}>{formatNumber(count)}</Cell>
        </TableRow>
      ))}
    </Table>
  );
}

function ageNames(): string[] {
  return [_("less than a day"), _("1 to 7 days"), _("7 to 30 days"), _("30 to 90 days"), _("more than 90 days")];
}

/** The days that an age covers, for the filters of the list; a day at the edge is in both. */
function ageOptions(index: number): Record<string, string> {
  // Ages are hours that have passed, and not days of the calendar, of which some have 23 or 25.
  const dayOfAge = (age: number) => toDay(new Date(Date.now() - age * 86400_000));
  const [youngest, oldest] = [AGES[index - 1] ?? 0, AGES[index] ?? Infinity];
  return {
    unresolved: "1",
    ...(oldest === Infinity ? {} : { from: dayOfAge(oldest) }),
    ...(youngest === 0 ? {} : { to: dayOfAge(youngest) }),
  };
}

function OpenByAge() {
  const { api } = useService();
  const { value, error, isLoading, reload } = useLoaded(useCallback(() => readOpenAges(api, now(), locale), [api]));
  const most = Math.max(1, ...(value?.counts ?? []));
  return (
    <Card>
      <CardTitle component="h2">{_("Open alerts by age")}</CardTitle>
      <CardBody>
        <Problem title={_("The open alerts could not be counted")} error={error} retry={reload} />
        {!value && isLoading && <Loading />}
        {value && (
          <Table label={_("Open alerts by age")} heads={[_("Age"), _("Alerts"), _("Share")]}>
            {ageNames().map((name, index) => (
              <TableRow key={name}>
                <Cell label={_("Age")}><a href={href(["alerts"], ageOptions(index))}>{name}</a></Cell>
                <Cell label={_("Alerts")}>{formatNumber(value.counts[index] ?? 0)}</Cell>
                <Cell label={_("Share")}><meter className="va-meter" aria-label={name} min={0} max={most} value={value.counts[index] ?? 0} /></Cell>
              </TableRow>
            ))}
          </Table>
        )}
        {value?.isPartial && <p className="va-hint">{_("There are more than could be counted here; the oldest are left out.")}</p>}
      </CardBody>
    </Card>
  );
}

/** How many alerts there were in the last three months, of which bundles, and what of it is still open. */
export function HistoryView() {
  const { api } = useService();
  const names = useBundleNames();
  const [isTable, setTable] = useState(false);
  const { value, error, isLoading, reload } = useLoaded(useCallback(() => readHistory(api, new Date()), [api]));
  return (
    <div className="va-cards">
      <Card>
        <CardTitle component="h2">{plural("Alerts a day, the last $0 day", "Alerts a day, the last $0 days", DAYS)}</CardTitle>
        <CardBody>
          <Problem title={_("The history could not be read")} error={error} retry={reload} />
          {!value && isLoading && <Loading />}
          {value?.counts.length === 0 && (
            <EmptyState variant="sm" titleText={_("No alerts in this time")} headingLevel="h3">
              <EmptyStateBody>{_("Days with alerts appear here as bars, a row for each bundle.")}</EmptyStateBody>
            </EmptyState>
          )}
          {value && value.counts.length > 0 && (
            <>
              <Chart history={value} names={names} />
              <ExpandableSection toggleText={_("The same as a table")} isExpanded={isTable} onToggle={(_event, is) => setTable(is)}>
                {isTable && <HistoryTable history={value} names={names} />}
              </ExpandableSection>
            </>
          )}
        </CardBody>
      </Card>
      <OpenByAge />
    </div>
  );
}
