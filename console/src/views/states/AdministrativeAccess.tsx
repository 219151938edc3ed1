// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { Modal, ModalBody, ModalFooter, ModalHeader } from "@patternfly/react-core/dist/esm/components/Modal/index.js";
import { TextInput } from "@patternfly/react-core/dist/esm/components/TextInput/TextInput.js";
import { type FormEvent, useEffect, useMemo, useState } from "react";

import { type Prompt, Superuser } from "../../service/superuser.ts";
import { Field, Foreign, Problem } from "../../ui/parts.tsx";
import { useService } from "../../ui/service.ts";
import { _ } from "../../ui/text.ts";

interface Asked {
  prompt: Prompt;
  answer: (text: string | undefined) => void;
}

function Password({ asked: { prompt, answer } }: { asked: Asked }) {
  const [typed, setTyped] = useState("");
  const submit = (event: FormEvent) => {
    event.preventDefault();
    answer(typed);
  };
  return (
    <Modal isOpen variant="small" onClose={() => answer(undefined)} aria-labelledby="access-title">
      <ModalHeader title={_("Switch to administrative access")} labelId="access-title" />
      <ModalBody>
        <form id="access-form" onSubmit={submit}>
          {prompt.message !== "" && <p><Foreign>{prompt.message}</Foreign></p>}
          <Field id="access-answer" label={prompt.prompt}>
            <TextInput id="access-answer" type={prompt.isEchoed ? "text" : "password"} value={typed} autoComplete="current-password"
              validated={prompt.error === "" ? "default" : "error"} onChange={(_event, text) => setTyped(text)} />
          </Field>
          {prompt.error !== "" && <p role="alert"><Foreign>{prompt.error}</Foreign></p>}
        </form>
      </ModalBody>
      <ModalFooter>
        <Button type="submit" form="access-form">{_("Authenticate")}</Button>
        <Button variant="link" onClick={() => answer(undefined)}>{_("Cancel")}</Button>
      </ModalFooter>
    </Modal>
  );
}

/** Cockpit's switch to administrative access, in place; the whole session has it then. */
export function AdministrativeAccess() {
  const { watcher } = useService();
  const superuser = useMemo(() => new Superuser(), []);
  const [ways, setWays] = useState<string[]>();
  const [asked, setAsked] = useState<Asked>();
  const [isBusy, setBusy] = useState(false);
  const [error, setError] = useState<unknown>();
  useEffect(() => {
    superuser.bridges().then(setWays, () => setWays([]));
  }, [superuser]);

  const ask = (prompt: Prompt) =>
    new Promise<string | undefined>((resolve) => {
      const answer = (text: string | undefined) => {
        setAsked(undefined);
        resolve(text);
      };
      setAsked({ prompt, answer });
    });
  const start = () => {
    setBusy(true);
    setError(undefined);
    superuser
      .start(ask)
      .then(() => watcher.start(), setError)
      .finally(() => {
        setAsked(undefined);
        setBusy(false);
      });
  };
  if (!ways) return null;
  if (ways.length === 0) {
    return <p>{_("This session cannot get it here. Log in as an administrator, or turn it on in Cockpit's menu.")}</p>;
  }
  return (
    <>
      <Problem title={_("Administrative access was not granted")} error={error} />
      <Button variant="primary" onClick={start} isDisabled={isBusy} isLoading={isBusy}>{_("Turn on administrative access")}</Button>
      {asked && <Password asked={asked} />}
    </>
  );
}
