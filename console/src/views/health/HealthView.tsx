// SPDX-License-Identifier: Apache-2.0

import { Alert as Notice } from "@patternfly/react-core/dist/esm/components/Alert/Alert.js";
import { Card, CardBody, CardTitle } from "@patternfly/react-core/dist/esm/components/Card/index.js";
import { DescriptionList, DescriptionListDescription, DescriptionListGroup, DescriptionListTerm } from "@patternfly/react-core/dist/esm/components/DescriptionList/index.js";
import { type ReactNode, useCallback } from "react";

import type { Channel, Status, Store } from "../../service/types.ts";
import { href } from "../../ui/location.ts";
import { Foreign, Loading, Moment, Problem } from "../../ui/parts.tsx";
import { useLoaded, useService, useServiceEvents } from "../../ui/service.ts";
import { _, format, formatBytes, formatNumber } from "../../ui/text.ts";
import { useSoon } from "../../ui/useSoon.ts";
import { channelName } from "../telling/channelName.ts";
import { ServiceControl } from "./ServiceControl.tsx";
import { useRegularly } from "./useRegularly.ts";

function Term({ name, children }: { name: string; children: ReactNode }) {
  return (
    <DescriptionListGroup>
      <DescriptionListTerm>{name}</DescriptionListTerm>
      <DescriptionListDescription>{children}</DescriptionListDescription>
    </DescriptionListGroup>
  );
}

/** What is wrong, each with what to do about it. */
function Failures({ status: { store, channels } }: { status: Status }) {
  const failing = channels.filter(({ lastFailure, lastError }) => lastFailure !== undefined || lastError !== undefined);
  if (store.usable && store.failedSaves === 0 && failing.length === 0) {
    return <Notice component="p" isInline variant="success" title={_("No failure since the service started")} />;
  }
  return (
    <>
      {!store.usable && (
        <Notice component="p" isInline variant="danger" title={_("The store cannot be used")}>
          <p><Foreign>{store.problem ?? ""}</Foreign></p>
          <p>{format(_("Alerts are not kept until this is mended: look at $0, its disk and its permissions, then restart the service."), store.path)}</p>
        </Notice>
      )}
      {store.usable && store.failedSaves > 0 && (
        <Notice component="p" isInline variant="warning" title={_("Some alerts could not be saved")}>
          <p>{format(_("$0 saves failed. Look at the free space of the disk that holds $1."), formatNumber(store.failedSaves), store.path)}</p>
        </Notice>
      )}
      {failing.map((channel) => <ChannelFailure key={channel.name} channel={channel} />)}
    </>
  );
}

function ChannelFailure({ channel: { name, lastFailure, lastError } }: { channel: Channel }) {
  const advice = name === "mail" ? _("Look at the mail program's own log, then send a test.") : _("Look at the push gateway's identity file and at the network, then send a test.");
  return (
    <Notice component="p" isInline variant="warning" title={format(_("Last failure of $0"), channelName(name))}>
      <p><Moment date={lastFailure} />{lastError !== undefined && <> · <Foreign>{lastError}</Foreign></>}</p>
      <p>{advice} <a href={href(["telling"])}>{_("Notifications")}</a></p>
    </Notice>
  );
}

function ServiceFacts({ status }: { status: Status }) {
  return (
    <DescriptionList className="va-facts" isHorizontal isCompact>
      <Term name={_("Version")}><Foreign>{status.version}</Foreign></Term>
      <Term name={_("Running since")}><Moment date={status.startDate} /></Term>
      <Term name={_("Alerts")}><a href={href(["alerts"])}>{formatNumber(status.counts.alerts)}</a></Term>
      <Term name={_("Unread")}><a href={href(["alerts"], { unread: "1" })}>{formatNumber(status.counts.unread)}</a></Term>
      <Term name={_("Unresolved")}><a href={href(["alerts"], { unresolved: "1" })}>{formatNumber(status.counts.unresolved)}</a></Term>
      <Term name={_("Connections")}>{formatNumber(status.connections)}</Term>
      <Term name={_("Calls under way")}>{formatNumber(status.calls)}</Term>
      <Term name={_("Calls served")}>{formatNumber(status.served)}</Term>
    </DescriptionList>
  );
}

function StoreFacts({ store }: { store: Store }) {
  return (
    <DescriptionList className="va-facts" isHorizontal isCompact>
      <Term name={_("State")}>{store.usable ? _("in order") : _("cannot be used")}</Term>
      <Term name={_("File")}><span className="va-path"><Foreign>{store.path}</Foreign></span></Term>
      <Term name={_("Size")}>{formatBytes(store.size)}</Term>
      <Term name={_("Free within it")}>{formatBytes(store.freeSize)}</Term>
      <Term name={_("Size of its log")}>{formatBytes(store.logSize)}</Term>
      <Term name={_("Saves")}>{formatNumber(store.saves)}</Term>
      <Term name={_("Failed saves")}>{formatNumber(store.failedSaves)}</Term>
    </DescriptionList>
  );
}

/** Milliseconds between two looks at the numbers. */
const INTERVAL = 10_000;

/** How the service is. */
export function HealthView() {
  const { api } = useService();
  const { value: status, error, isLoading, reload } = useLoaded(useCallback(() => api.status(), [api]));
  useServiceEvents(useSoon(reload));
  useRegularly(INTERVAL, reload);
  return (
    <div className="va-cards">
      <Card>
        <CardTitle component="h2">{_("Service")}</CardTitle>
        <CardBody>
          <Problem title={_("The service's state could not be read")} error={error} retry={reload} />
          {!status && isLoading && <Loading />}
          {status && <Failures status={status} />}
          <ServiceControl onChange={reload} />
          {status && <ServiceFacts status={status} />}
        </CardBody>
      </Card>
      {status && (
        <Card>
          <CardTitle component="h2">{_("Store")}</CardTitle>
          <CardBody><StoreFacts store={status.store} /></CardBody>
        </Card>
      )}
    </div>
  );
}
