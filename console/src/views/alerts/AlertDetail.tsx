// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { DescriptionList, DescriptionListDescription, DescriptionListGroup, DescriptionListTerm } from "@patternfly/react-core/dist/esm/components/DescriptionList/index.js";
import ArrowLeftIcon from "@patternfly/react-icons/dist/esm/icons/arrow-left-icon.js";
import { useCallback, useEffect, useRef, useState, type ReactNode } from "react";

import type { Detail } from "../../service/types.ts";
import { VarlinkError } from "../../varlink/errors.ts";
import { go } from "../../ui/location.ts";
import { Foreign, Loading, Moment, Problem } from "../../ui/parts.tsx";
import { useLoaded, useService, useServiceEvents } from "../../ui/service.ts";
import { _, locale } from "../../ui/text.ts";
import type { AlertListModel } from "./AlertListModel.ts";
import { StateLabels } from "./AlertTable.tsx";
import { valueText } from "./attributes.ts";
import { BulkResult } from "./BulkResult.tsx";
import { DeleteQuestion } from "./DeleteQuestion.tsx";
import type { Options } from "./query.ts";
import { RecoveryActions } from "./RecoveryActions.tsx";
import { useBulk } from "./useBulk.ts";

/** So much of a long text is shown at first, and more with each press of the button. */
const PORTION = 10_000;

function LongText({ text }: { text: string }) {
  const [most, setMost] = useState(PORTION);
  return (
    <div className="va-long">
      <bdi className="va-text" dir="auto">{text.slice(0, most)}</bdi>
      {text.length > most && (
        <Button variant="link" isInline onClick={() => setMost(most + 10 * PORTION)}>{_("Show more")}</Button>
      )}
    </div>
  );
}

function Term({ name, children }: { name: string; children: ReactNode }) {
  return (
    <DescriptionListGroup>
      <DescriptionListTerm><Foreign most={200}>{name}</Foreign></DescriptionListTerm>
      <DescriptionListDescription>{children}</DescriptionListDescription>
    </DescriptionListGroup>
  );
}

function Facts({ detail: { alert }, bundles }: { detail: Detail; bundles: Record<string, string> }) {
  const bundle = alert.bundle ?? "";
  return (
    <section aria-labelledby="facts">
      <h3 id="facts" className="va-heading">{_("Facts")}</h3>
      <DescriptionList className="va-facts" isHorizontal isCompact>
        <Term name={_("Bundle")}><Foreign>{bundles[bundle] ?? bundle}</Foreign></Term>
        <Term name={_("Kind")}><Foreign>{alert.type ?? ""}</Foreign></Term>
        <Term name={_("Created")}><Moment date={alert.creationDate} /></Term>
        <Term name={_("Sent")}><Moment date={alert.sentDate} /></Term>
        <Term name={_("Read")}><Moment date={alert.readDate} /></Term>
        <Term name={_("Resolved")}><Moment date={alert.resolvedDate} /></Term>
        <Term name={_("Identifier")}><Foreign>{alert.identifier ?? ""}</Foreign></Term>
      </DescriptionList>
    </section>
  );
}

function Attributes({ attributes }: { attributes: Record<string, unknown> | undefined }) {
  const entries = Object.entries(attributes ?? {}).slice(0, 500);
  if (entries.length === 0) return null;
  return (
    <section aria-labelledby="attributes">
      <h3 id="attributes" className="va-heading">{_("Attributes")}</h3>
      <DescriptionList className="va-facts" isHorizontal isCompact>
        {entries.map(([key, value]) => <Term key={key} name={key}><LongText text={valueText(value)} /></Term>)}
      </DescriptionList>
    </section>
  );
}

function Subject({ detail }: { detail: Detail }) {
  const heading = useRef<HTMLHeadingElement>(null);
  // A reader of the keyboard or by ear comes from a row that is not in the page any more.
  useEffect(() => heading.current?.focus({ preventScroll: true }), []);
  const { alert, subject } = detail;
  return (
    <div className="va-detail__head">
      <h2 ref={heading} tabIndex={-1} className="va-title"><Foreign>{subject ?? alert.type ?? alert.identifier ?? ""}</Foreign></h2>
      <StateLabels row={{ isUnread: alert.readDate === undefined, isUnresolved: alert.resolvedDate === undefined, isDeleted: false }} />
    </div>
  );
}

interface AlertDetailProps {
  id: string;
  filters: Options;
  bundles: Record<string, string>;
  model: AlertListModel;
}

function Buttons({ detail, id, model, back, reload }: { detail: Detail; id: string; model: AlertListModel; back: () => void; reload: () => void }) {
  const [isDeleting, setDeleting] = useState(false);
  const bulk = useBulk(model);
  const mark = (deed: "read" | "resolve") => void bulk.mark(deed, [id]).then(reload);
  const isDeleted = bulk.result?.deed === "delete" && bulk.result.count > 0;
  return (
    <>
      {!isDeleted && (
        <div className="va-buttons">
          {detail.alert.readDate === undefined && <Button variant="secondary" isDisabled={!!bulk.work} onClick={() => mark("read")}>{_("Mark as read")}</Button>}
          {detail.alert.resolvedDate === undefined && <Button variant="secondary" isDisabled={!!bulk.work} onClick={() => mark("resolve")}>{_("Mark as resolved")}</Button>}
          <Button variant="danger" onClick={() => setDeleting(true)}>{_("Delete…")}</Button>
        </div>
      )}
      <BulkResult bulk={bulk} />
      {isDeleted && <Button variant="link" isInline onClick={back}>{_("Back to the alerts")}</Button>}
      {isDeleting && <DeleteQuestion ids={[id]} bulk={bulk} close={() => setDeleting(false)} />}
    </>
  );
}

/** One alert with all that its bundle says of it. */
export function AlertDetail({ id, filters, bundles, model }: AlertDetailProps) {
  const { api } = useService();
  const { value: detail, error, isLoading, reload } = useLoaded(useCallback(() => api.alert(id, locale), [api, id]));
  const back = () => go(["alerts"], filters);
  useServiceEvents((events) => {
    if (events.some(({ kind, alert }) => kind === "lost" || (kind === "changed" && alert?.identifier === id))) reload();
  });
  const isGone = error instanceof VarlinkError && error.short === "NoSuchAlert";
  return (
    <article className="va-detail" aria-busy={isLoading}>
      <Button variant="link" isInline icon={<ArrowLeftIcon />} onClick={back}>{_("All alerts")}</Button>
      <Problem title={isGone ? _("This alert is gone") : _("The alert could not be read")} error={error} {...(isGone ? {} : { retry: reload })} />
      {!detail && isLoading && <Loading />}
      {detail && (
        <>
          <Subject detail={detail} />
          <Buttons detail={detail} id={id} model={model} back={back} reload={reload} />
          {detail.message !== undefined && <section aria-label={_("Message")} className="va-message"><LongText text={detail.message} /></section>}
          <RecoveryActions id={id} actions={detail.actions} bundle={bundles[detail.alert.bundle ?? ""] ?? detail.alert.bundle ?? ""} onDone={reload} />
          <Facts detail={detail} bundles={bundles} />
          <Attributes attributes={detail.alert.attributes} />
        </>
      )}
    </article>
  );
}
