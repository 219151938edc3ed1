// SPDX-License-Identifier: Apache-2.0
//
// A test is an alert of the bundle Common, which exists for that. It goes the way of every alert, by all channels that
// the bundle is switched on for; what this channel made of it is told from the journal, from the reply where it
// names the channel, and from the service's counts where there is no journal.

import { Alert as Notice } from "@patternfly/react-core/dist/esm/components/Alert/Alert.js";
import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { useCallback, useState } from "react";

import type { Api } from "../../service/api.ts";
import { ServiceError } from "../../service/api.ts";
import { type Delivery, lastDeliveries } from "../../service/journal.ts";
import type { Channel } from "../../service/types.ts";
import { Foreign, Problem } from "../../ui/parts.tsx";
import { Question } from "../../ui/Question.tsx";
import { errorText, useLoaded, useService } from "../../ui/service.ts";
import { _, format, formatNumber } from "../../ui/text.ts";
import { channelName } from "./channelName.ts";

type Name = Channel["name"];

export interface Answer {
  deliveries: Delivery[];
  delivered: number;
  failed: number;
  /** What the channel said when it failed. */
  reason: string | undefined;
}

const BUNDLE = "Common";
const DOMAINS: Record<string, Name> = { VeltoAlertsMailer: "mail", UlmoraPushProvider: "push" };

function counts(channels: Channel[], name: Name): Channel | undefined {
  return channels.find((channel) => channel.name === name);
}

/** An error of delivery is the answer; any other is a failure of the test. */
async function post(api: Api, identifier: string, name: Name): Promise<string | undefined> {
  try {
    await api.post({ bundle: BUNDLE, type: "Test", identifier });
  } catch (error) {
    if (!(error instanceof ServiceError) || DOMAINS[error.domain] === undefined) throw error;
    return DOMAINS[error.domain] === name ? errorText(error) : undefined;
  }
  return undefined;
}

export async function testChannel(api: Api, name: Name): Promise<Answer> {
  const before = counts((await api.status()).channels, name);
  const identifier = `Test:${Array.from(crypto.getRandomValues(new Uint8Array(8)), (byte) => byte.toString(16).padStart(2, "0")).join("")}`;
  const reason = await post(api, identifier, name);
  const after = counts((await api.status()).channels, name);
  const noted = await lastDeliveries(50, identifier).catch(() => []);
  const failed = (after?.failed ?? 0) - (before?.failed ?? 0);
  return {
    deliveries: noted.filter(({ channel }) => channel === name),
    delivered: (after?.delivered ?? 0) - (before?.delivered ?? 0),
    failed,
    reason: reason ?? (failed > 0 ? after?.lastError : undefined),
  };
}

function AnswerText({ answer: { deliveries, delivered, failed, reason } }: { answer: Answer }) {
  const isNobody = delivered + failed === 0 && deliveries.length === 0 && reason === undefined;
  const isFailed = failed > 0 || reason !== undefined || deliveries.some((one) => !one.isDelivered);
  const title = isNobody ? _("There was nobody to tell") : isFailed ? _("The test was not delivered to everybody") : _("The test was delivered");
  return (
    <Notice component="p" isInline variant={isNobody ? "info" : isFailed ? "danger" : "success"} title={title}>
      {!isNobody && <p>{format(_("$0 delivered, $1 failed."), formatNumber(delivered), formatNumber(failed))}</p>}
      {reason !== undefined && <p><Foreign most={2000}>{reason}</Foreign></p>}
      {deliveries.map((one, index) => (
        <p key={index}>
          <Foreign most={300}>{one.recipients}</Foreign>: {one.isDelivered ? _("delivered") : format(_("failed with status $0"), one.status)}
        </p>
      ))}
    </Notice>
  );
}

function warning(isOther: boolean, channel: Name): string {
  if (!isOther) return format(_("Everybody who is told by $0 gets a test alert."), channelName(channel));
  return _("Everybody who is told by mail or by push gets a test alert, since it goes the way of every alert.");
}

/** The button that tests a channel, and what the channel answered. */
export function ChannelTest({ channel }: { channel: Name }) {
  const { api } = useService();
  const { value: settings } = useLoaded(useCallback(() => api.bundleSettings(), [api]));
  const [isAsking, setAsking] = useState(false);
  const [isRunning, setRunning] = useState(false);
  const [answer, setAnswer] = useState<Answer>();
  const [error, setError] = useState<unknown>();
  const common = settings?.[BUNDLE];
  const isOn = (channel === "mail" ? common?.mailEnabled : common?.pushEnabled) === true;
  const isOtherOn = (channel === "mail" ? common?.pushEnabled : common?.mailEnabled) === true;
  const run = () => {
    setRunning(true);
    setAnswer(undefined);
    setError(undefined);
    testChannel(api, channel).then(setAnswer, setError).finally(() => setRunning(false));
    return Promise.resolve();
  };
  const title = channel === "mail" ? _("Send a test by mail") : _("Send a test by push");
  return (
    <div className="va-test">
      <Button variant="secondary" isDisabled={!isOn || isRunning} isLoading={isRunning} onClick={() => setAsking(true)}>{title}</Button>
      {settings && !isOn && <p className="va-hint">{format(_("The test goes by the bundle $0, which is switched off for this way below."), BUNDLE)}</p>}
      <div role="status">
        {isRunning && <p>{_("Waiting for the answer…")}</p>}
        {answer && <AnswerText answer={answer} />}
      </div>
      <Problem title={_("The test could not be sent")} error={error} />
      {isAsking && (
        <Question title={title} verb={_("Send")} failure="" act={run} close={() => setAsking(false)}>
          {warning(isOtherOn, channel)}
        </Question>
      )}
    </div>
  );
}
