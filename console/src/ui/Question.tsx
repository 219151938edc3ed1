// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { Modal, ModalBody, ModalFooter, ModalHeader } from "@patternfly/react-core/dist/esm/components/Modal/index.js";
import { useState, type ReactNode } from "react";

import { Problem } from "./parts.tsx";
import { _ } from "./text.ts";

interface QuestionProps {
  title: string;
  children: ReactNode;
  /** What the button says that does it. */
  verb: string;
  isDangerous?: boolean;
  isDisabled?: boolean;
  /** What a failure is called. */
  failure: string;
  act: () => Promise<void>;
  /** Called when it was done, and when it was not wanted. */
  close: () => void;
}

/** Asks before something is done, shows that it is being done, and stays with the reason when it fails. */
export function Question({ title, children, verb, isDangerous, isDisabled, failure, act, close }: QuestionProps) {
  const [isBusy, setBusy] = useState(false);
  const [error, setError] = useState<unknown>(undefined);
  const run = () => {
    setBusy(true);
    setError(undefined);
    act().then(close, (reason: unknown) => {
      setError(reason);
      setBusy(false);
    });
  };
  return (
    <Modal isOpen variant="small" onClose={close} aria-labelledby="question-title" aria-describedby="question-body">
      <ModalHeader title={title} labelId="question-title" {...(isDangerous ? { titleIconVariant: "warning" } : {})} />
      <ModalBody id="question-body">
        <Problem title={failure} error={error} />
        {children}
      </ModalBody>
      <ModalFooter>
        <Button variant={isDangerous ? "danger" : "primary"} onClick={run} isLoading={isBusy} isDisabled={isBusy || !!isDisabled}>
          {verb}
        </Button>
        <Button variant="link" onClick={close}>
          {isBusy ? _("Close") : _("Cancel")}
        </Button>
      </ModalFooter>
    </Modal>
  );
}
