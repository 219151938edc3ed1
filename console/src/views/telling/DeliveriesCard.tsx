// SPDX-License-Identifier: Apache-2.0

import { Card, CardBody, CardTitle } from "@patternfly/react-core/dist/esm/components/Card/index.js";
import { Label } from "@patternfly/react-core/dist/esm/components/Label/Label.js";
import { useCallback } from "react";

import { type Delivery, lastDeliveries } from "../../service/journal.ts";
import { href } from "../../ui/location.ts";
import { Cell, Foreign, Loading, Problem, Table, TableRow } from "../../ui/parts.tsx";
import { useLoaded, useServiceEvents } from "../../ui/service.ts";
import { _, format, formatNumber, formatTime, languageName } from "../../ui/text.ts";
import { useSoon } from "../../ui/useSoon.ts";
import { channelName } from "./channelName.ts";

const COUNT = 50;

function Outcome({ delivery: { isDelivered, status } }: { delivery: Delivery }) {
  return isDelivered ? (
    <Label isCompact status="success">{_("delivered")}</Label>
  ) : (
    <Label isCompact status="danger">{format(_("failed with status $0"), status)}</Label>
  );
}

function DeliveryRow({ delivery }: { delivery: Delivery }) {
  const { time, alertId, channel, recipients, locale, duration } = delivery;
  return (
    <TableRow>
      <Cell label={_("Time")}><a href={href(["alerts", alertId])}>{formatTime(time)}</a></Cell>
      <Cell label={_("By")}>{channelName(channel)}</Cell>
      <Cell label={_("To")}><Foreign most={300}>{recipients}</Foreign></Cell>
      <Cell label={_("Language")}>{languageName(locale)}</Cell>
      <Cell label={_("Outcome")}><Outcome delivery={delivery} /></Cell>
      <Cell label={_("Took")}>{format(_("$0 ms"), formatNumber(Math.round(duration)))}</Cell>
    </TableRow>
  );
}

/** What came of the last deliveries, as the journal has it. */
export function DeliveriesCard() {
  const { value, error, isLoading, reload } = useLoaded(useCallback(() => lastDeliveries(COUNT), []));
  useServiceEvents(useSoon(reload, 1000));
  const heads = [_("Time"), _("By"), _("To"), _("Language"), _("Outcome"), _("Took")];
  return (
    <Card>
      <CardTitle component="h2">{_("Last deliveries")}</CardTitle>
      <CardBody>
        <Problem title={_("The journal could not be read")} error={error} retry={reload} />
        {!value && isLoading && <Loading />}
        {value?.length === 0 && <p className="va-hint">{_("The journal tells of no delivery.")}</p>}
        {value && value.length > 0 && (
          <Table label={_("Last deliveries")} heads={heads}>
            {value.map((delivery, index) => <DeliveryRow key={index} delivery={delivery} />)}
          </Table>
        )}
      </CardBody>
    </Card>
  );
}
