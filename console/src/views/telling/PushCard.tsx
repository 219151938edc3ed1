// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { Card, CardBody, CardTitle } from "@patternfly/react-core/dist/esm/components/Card/index.js";
import { Switch } from "@patternfly/react-core/dist/esm/components/Switch/Switch.js";
import { TextInput } from "@patternfly/react-core/dist/esm/components/TextInput/TextInput.js";
import { type FormEvent, useCallback, useState } from "react";

import type { PushRecipient } from "../../service/types.ts";
import { Cell, Field, Foreign, Loading, Problem, Table, TableRow } from "../../ui/parts.tsx";
import { Question } from "../../ui/Question.tsx";
import { useLoaded, useService, useServiceEvents } from "../../ui/service.ts";
import { _, clip, format } from "../../ui/text.ts";
import { ChannelTest } from "./ChannelTest.tsx";
import { GatewayState } from "./GatewayState.tsx";
import { LanguageSelect } from "./LanguageSelect.tsx";
import { tokenHint, tokenToBase64 } from "./token.ts";
import { useChange } from "./useChange.ts";

type Change = (act: () => Promise<void>) => Promise<boolean>;

const EMPTY = { name: "", guid: "", token: "", locale: "" };

function AddForm({ isBusy, change }: { isBusy: boolean; change: Change }) {
  const { api } = useService();
  const [typed, setTyped] = useState(EMPTY);
  const set = (name: keyof typeof EMPTY) => (text: string) => setTyped((before) => ({ ...before, [name]: text }));
  const token = tokenToBase64(typed.token);
  const isWrong = typed.token.trim() !== "" && token === undefined;
  const submit = async (event: FormEvent) => {
    event.preventDefault();
    const { name, guid, locale } = typed;
    const device = { name: name.trim() || undefined, guid: guid.trim(), token, locale: locale || undefined, enabled: true };
    if (await change(() => api.addPushRecipient(device))) setTyped(EMPTY);
  };
  return (
    <form className="va-form" onSubmit={(event) => void submit(event)}>
      <Field id="push-name" label={_("Name")}>
        <TextInput id="push-name" value={typed.name} onChange={(_event, text) => set("name")(text)} />
      </Field>
      <Field id="push-guid" label={_("Identifier of the device")}>
        <TextInput id="push-guid" value={typed.guid} onChange={(_event, text) => set("guid")(text)} />
      </Field>
      <Field id="push-token" label={_("Token, in hexadecimal or base64")}>
        <TextInput id="push-token" value={typed.token} validated={isWrong ? "error" : "default"} onChange={(_event, text) => set("token")(text)} />
      </Field>
      <Field id="push-locale" label={_("Language")}>
        <LanguageSelect id="push-locale" value={typed.locale} none={_("The machine's language")} onChange={set("locale")} />
      </Field>
      <Button type="submit" variant="secondary" isDisabled={isBusy || token === undefined || typed.guid.trim() === ""}>{_("Add device")}</Button>
    </form>
  );
}

function useRewrite() {
  const { api } = useService();
  return useCallback(
    async (guid: string, rewrite: (device: PushRecipient) => PushRecipient[]) => {
      const now = await api.pushRecipients();
      await api.setPushRecipients(now.flatMap((one) => (one.guid === guid ? rewrite(one) : [one])));
    },
    [api],
  );
}

interface DeviceProps {
  device: PushRecipient;
  index: number;
  isBusy: boolean;
  change: Change;
  onRemove: () => void;
}

function Device({ device, index, isBusy, change, onRemove }: DeviceProps) {
  const rewrite = useRewrite();
  const { name = "", guid = "", token = "", locale = "", enabled = false } = device;
  const shown = clip(name || guid, 100);
  const update = (part: Partial<PushRecipient>) => void change(() => rewrite(guid, (one) => [{ ...one, ...part }]));
  return (
    <TableRow>
      <Cell label={_("Name")}><Foreign most={200}>{name || guid}</Foreign><br /><small className="va-hint">{tokenHint(token)}</small></Cell>
      <Cell label={_("Language")}>
        <LanguageSelect id={`push-language-${index}`} label={format(_("Language of $0"), shown)} value={locale} isDisabled={isBusy} onChange={(tag) => update({ locale: tag })} />
      </Cell>
      <Cell label={_("Is told")}>
        <Switch id={`push-enabled-${index}`} aria-label={format(_("Tell $0"), shown)} isChecked={enabled} isDisabled={isBusy} onChange={(_event, is) => update({ enabled: is })} />
      </Cell>
      <Cell label={_("Action")} isAction>
        <Button variant="link" isDanger isInline isDisabled={isBusy} aria-label={format(_("Remove $0"), shown)} onClick={onRemove}>{_("Remove")}</Button>
      </Cell>
    </TableRow>
  );
}

function Devices({ devices, isBusy, change }: { devices: PushRecipient[]; isBusy: boolean; change: Change }) {
  const rewrite = useRewrite();
  const [removed, setRemoved] = useState<PushRecipient>();
  if (devices.length === 0) return <p className="va-hint">{_("No device is told by push yet.")}</p>;
  return (
    <>
      <Table label={_("Push devices")} heads={[_("Name"), _("Language"), _("Is told"), _("Action")]}>
        {devices.map((device, index) => (
          <Device key={`${device.guid ?? ""} ${index}`} device={device} index={index} isBusy={isBusy} change={change} onRemove={() => setRemoved(device)} />
        ))}
      </Table>
      {removed && (
        <Question title={_("Remove this device?")} verb={_("Remove")} isDangerous failure={_("The device could not be removed")}
          act={async () => { await change(() => rewrite(removed.guid ?? "", () => [])); }} close={() => setRemoved(undefined)}>
          <Foreign>{removed.name ?? removed.guid ?? ""}</Foreign>
        </Question>
      )}
    </>
  );
}

export function PushCard() {
  const { api } = useService();
  const { value, error, isLoading, reload } = useLoaded(useCallback(() => api.pushRecipients(), [api]));
  const { isBusy, error: failure, change } = useChange(reload);
  useServiceEvents((events) => {
    if (events.some(({ kind }) => kind === "settings" || kind === "lost")) reload();
  });
  return (
    <Card>
      <CardTitle component="h2">{_("By push")}</CardTitle>
      <CardBody>
        <GatewayState />
        <Problem title={_("The push devices could not be read")} error={error} retry={reload} />
        <Problem title={_("The change was not made")} error={failure} />
        {!value && isLoading && <Loading />}
        {value && <Devices devices={value} isBusy={isBusy} change={change} />}
        <AddForm isBusy={isBusy} change={change} />
        <ChannelTest channel="push" />
      </CardBody>
    </Card>
  );
}
