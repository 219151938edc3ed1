// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { Card, CardBody, CardTitle } from "@patternfly/react-core/dist/esm/components/Card/index.js";
import { TextInput } from "@patternfly/react-core/dist/esm/components/TextInput/TextInput.js";
import { type FormEvent, useCallback, useState } from "react";

import type { MailRecipient } from "../../service/types.ts";
import { Cell, Field, Foreign, Loading, Problem, Table, TableRow } from "../../ui/parts.tsx";
import { Question } from "../../ui/Question.tsx";
import { useLoaded, useService, useServiceEvents } from "../../ui/service.ts";
import { _, clip, format } from "../../ui/text.ts";
import { ChannelTest } from "./ChannelTest.tsx";
import { LanguageSelect } from "./LanguageSelect.tsx";
import { useChange } from "./useChange.ts";

type Change = (act: () => Promise<void>) => Promise<boolean>;

/** Something before an @ and after it, and nothing that ends a header line; the rest is the mail program's. */
export function isAddress(text: string): boolean {
  return /^[^\n\r]*[^\s@]+@[^\s@]+>?$/.test(text.trim());
}

function AddForm({ isBusy, change }: { isBusy: boolean; change: Change }) {
  const { api } = useService();
  const [address, setAddress] = useState("");
  const [locale, setLocale] = useState("");
  const submit = async (event: FormEvent) => {
    event.preventDefault();
    const isDone = await change(() => api.addMailRecipient({ address: address.trim(), locale: locale || undefined }));
    if (isDone) setAddress("");
  };
  const isWrong = address !== "" && !isAddress(address);
  return (
    <form className="va-form" onSubmit={(event) => void submit(event)}>
      <Field id="mail-address" label={_("Address")}>
        <TextInput id="mail-address" value={address} validated={isWrong ? "warning" : "default"} placeholder="Ann &lt;ann@example.org&gt;" onChange={(_event, text) => setAddress(text)} />
      </Field>
      <Field id="mail-locale" label={_("Language")}>
        <LanguageSelect id="mail-locale" value={locale} none={_("As the address suggests")} onChange={setLocale} />
      </Field>
      <Button type="submit" variant="secondary" isDisabled={isBusy || !isAddress(address)}>{_("Add recipient")}</Button>
    </form>
  );
}

/** The whole list is written, so it is read anew before: others may have changed it. */
function useRewrite() {
  const { api } = useService();
  return useCallback(
    async (address: string, rewrite: (recipient: MailRecipient) => MailRecipient[]) => {
      const now = await api.mailRecipients();
      await api.setMailRecipients(now.flatMap((one) => (one.address === address ? rewrite(one) : [one])));
    },
    [api],
  );
}

function Recipients({ recipients, isBusy, change }: { recipients: MailRecipient[]; isBusy: boolean; change: Change }) {
  const rewrite = useRewrite();
  const [removed, setRemoved] = useState<string>();
  if (recipients.length === 0) return <p className="va-hint">{_("Nobody is told by mail yet.")}</p>;
  return (
    <>
      <Table label={_("Mail recipients")} heads={[_("Address"), _("Language"), _("Action")]}>
        {recipients.map(({ address = "", locale = "" }, index) => (
          <TableRow key={`${address} ${index}`}>
            <Cell label={_("Address")}><Foreign most={300}>{address}</Foreign></Cell>
            <Cell label={_("Language")}>
              <LanguageSelect id={`mail-language-${index}`} label={format(_("Language of $0"), clip(address, 100))} value={locale} isDisabled={isBusy}
                onChange={(tag) => void change(() => rewrite(address, (one) => [{ ...one, locale: tag }]))} />
            </Cell>
            <Cell label={_("Action")} isAction>
              <Button variant="link" isDanger isInline isDisabled={isBusy} aria-label={format(_("Remove $0"), clip(address, 100))} onClick={() => setRemoved(address)}>{_("Remove")}</Button>
            </Cell>
          </TableRow>
        ))}
      </Table>
      {removed !== undefined && (
        <Question title={_("Remove this recipient?")} verb={_("Remove")} isDangerous failure={_("The recipient could not be removed")}
          act={async () => { await change(() => rewrite(removed, () => [])); }} close={() => setRemoved(undefined)}>
          <Foreign>{removed}</Foreign>
        </Question>
      )}
    </>
  );
}

export function MailCard() {
  const { api } = useService();
  const { value, error, isLoading, reload } = useLoaded(useCallback(() => api.mailRecipients(), [api]));
  const { isBusy, error: failure, change } = useChange(reload);
  useServiceEvents((events) => {
    if (events.some(({ kind }) => kind === "settings" || kind === "lost")) reload();
  });
  return (
    <Card>
      <CardTitle component="h2">{_("By mail")}</CardTitle>
      <CardBody>
        <Problem title={_("The mail recipients could not be read")} error={error} retry={reload} />
        <Problem title={_("The change was not made")} error={failure} />
        {!value && isLoading && <Loading />}
        {value && <Recipients recipients={value} isBusy={isBusy} change={change} />}
        <AddForm isBusy={isBusy} change={change} />
        <ChannelTest channel="mail" />
      </CardBody>
    </Card>
  );
}
