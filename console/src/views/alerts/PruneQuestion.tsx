// SPDX-License-Identifier: Apache-2.0

import { TextInput } from "@patternfly/react-core/dist/esm/components/TextInput/TextInput.js";
import { useCallback, useState } from "react";

import { dayStart, fromDate, fromDay, toDay } from "../../service/dates.ts";
import { useLoaded, useService } from "../../ui/service.ts";
import { Field, Loading, Problem } from "../../ui/parts.tsx";
import { Question } from "../../ui/Question.tsx";
import { _, format, formatDay, plural } from "../../ui/text.ts";

/** What is older than this is offered first. */
const DAYS = 90;

/** Asks before old alerts are deleted: until when, and how many those are. */
export function PruneQuestion({ close, onPruned }: { close: () => void; onPruned: (count: number) => void }) {
  const { api } = useService();
  const [day, setDay] = useState(() => toDay(dayStart(new Date(), -DAYS)));
  const date = fromDay(day);
  const seconds = date && fromDate(date);
  const count = useLoaded(
    useCallback(async () => (seconds === undefined ? undefined : api.countBefore(seconds)), [api, seconds]),
  );
  const act = async () => {
    if (seconds !== undefined) onPruned(await api.removeBefore(seconds));
  };
  return (
    <Question title={_("Delete old alerts?")} verb={_("Delete")} isDangerous isDisabled={count.isLoading || !count.value}
      failure={_("The alerts could not be deleted")} act={act} close={close}>
      <Field id="prune-day" label={_("Delete what was sent before")}>
        <TextInput id="prune-day" type="date" value={day} max="9999-12-31" onChange={(_event, chosen) => setDay(chosen)} />
      </Field>
      <div className="va-prune" aria-live="polite">
        <Problem title={_("The alerts could not be counted")} error={count.error} retry={count.reload} />
        {count.isLoading && <Loading />}
        {!count.isLoading && count.value !== undefined && date && (
          <p>
            {format(_("Sent before $0:"), formatDay(date))} <strong>{plural("$0 alert", "$0 alerts", count.value)}</strong>.{" "}
            {count.value > 0 && _("They are deleted for good, resolved or not.")}
          </p>
        )}
      </div>
    </Question>
  );
}
