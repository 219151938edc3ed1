// SPDX-License-Identifier: Apache-2.0

import { Alert as Notice } from "@patternfly/react-core/dist/esm/components/Alert/Alert.js";
import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { Spinner } from "@patternfly/react-core/dist/esm/components/Spinner/Spinner.js";
import { useEffect, useRef, useState } from "react";

import type { Action } from "../../service/types.ts";
import { Foreign, Problem } from "../../ui/parts.tsx";
import { Question } from "../../ui/Question.tsx";
import { useService } from "../../ui/service.ts";
import { _, clip, format } from "../../ui/text.ts";

interface Run {
  action: Action;
  state: "running" | "done" | "failed";
  error?: unknown;
}

function RunResult({ run: { action, state, error } }: { run: Run }) {
  const title = clip(action.title, 200);
  if (state === "failed") return <Problem title={format(_("“$0” failed"), title)} error={error} />;
  return (
    <div role="status">
      {state === "running" ? (
        <p><Spinner size="md" aria-hidden /> {format(_("“$0” is running. This may take a minute."), title)}</p>
      ) : (
        <Notice component="p" isInline variant="success" title={format(_("“$0” was carried out. The alert counts as resolved."), title)} />
      )}
    </div>
  );
}

/** What the bundle offers to do about the alert: asked first, then run once, and what came of it stays to be read. */
export function RecoveryActions({ id, actions, bundle, onDone }: { id: string; actions: Action[]; bundle: string; onDone: () => void }) {
  const { api } = useService();
  const [asked, setAsked] = useState<Action>();
  const [run, setRun] = useState<Run>();
  const isThere = useRef(true);
  useEffect(() => {
    isThere.current = true;
    return () => void (isThere.current = false);
  }, []);
  const perform = async (action: Action) => {
    setRun({ action, state: "running" });
    const result = await api.perform(action.name, id).then(
      (): Run => ({ action, state: "done" }),
      (error: unknown): Run => ({ action, state: "failed", error }),
    );
    if (!isThere.current) return;
    setRun(result);
    onDone();
  };
  const begin = (action: Action) => {
    void perform(action);
    return Promise.resolve(); // the question is answered; how the action goes is shown in the page
  };
  if (actions.length === 0) return null;
  return (
    <section aria-labelledby="recovery">
      <h3 id="recovery" className="va-heading">{_("What can be done")}</h3>
      <div className="va-buttons">
        {actions.map((action) => (
          <Button key={action.name} variant="secondary" isDisabled={run?.state === "running"} onClick={() => setAsked(action)}>
            <Foreign most={200}>{action.title}</Foreign>
          </Button>
        ))}
      </div>
      {run && <RunResult run={run} />}
      {asked && (
        <Question title={clip(asked.title, 200)} verb={_("Run now")} failure="" act={() => begin(asked)} close={() => setAsked(undefined)}>
          <p>{format(_("The bundle $0 offers this for the alert. The service runs it on this machine with administrative rights, and marks the alert as resolved when it has succeeded."), bundle)}</p>
        </Question>
      )}
    </section>
  );
}
