// SPDX-License-Identifier: Apache-2.0

import { Alert as Notice, AlertActionCloseButton } from "@patternfly/react-core/dist/esm/components/Alert/index.js";
import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { Progress } from "@patternfly/react-core/dist/esm/components/Progress/Progress.js";

import { Foreign } from "../../ui/parts.tsx";
import { errorText } from "../../ui/service.ts";
import { _, formatNumber, plural } from "../../ui/text.ts";
import type { Bulk, Deed, Result } from "./useBulk.ts";

function doneText(deed: Deed, count: number): string {
  switch (deed) {
    case "read":
      return plural("$0 alert marked as read", "$0 alerts marked as read", count);
    case "resolve":
      return plural("$0 alert marked as resolved", "$0 alerts marked as resolved", count);
    case "delete":
      return plural("$0 alert deleted", "$0 alerts deleted", count);
  }
}

function failedText(result: Result): string {
  return plural("$0 alert could not be changed", "$0 alerts could not be changed", result.failed);
}

function workText(deed: Deed): string {
  return deed === "read" ? _("Marking as read") : _("Marking as resolved");
}

/** How far the work on many alerts is, and what came of it. */
export function BulkResult({ bulk }: { bulk: Bulk }) {
  const { work, result, stop, undo, dismiss } = bulk;
  if (work && work.total > 1) {
    return (
      <div className="va-work">
        <Progress id="bulk-progress" title={workText(work.deed)} value={work.count} max={work.total}
          label={`${formatNumber(work.count)} / ${formatNumber(work.total)}`} />
        <Button variant="secondary" onClick={stop}>{_("Stop")}</Button>
      </div>
    );
  }
  if (!result) return <div role="status" />;
  const isFailed = result.failed > 0;
  const title = [result.count > 0 || !isFailed ? doneText(result.deed, result.count) : "", isFailed ? failedText(result) : ""]
    .filter((text) => text !== "")
    .join(". ");
  return (
    <div role={isFailed ? "alert" : "status"}>
      <Notice component="p" isInline variant={isFailed ? "danger" : "success"} title={title}
        actionClose={<AlertActionCloseButton onClose={dismiss} aria-label={_("Close")} title={_("Close")} />}
        actionLinks={result.removed.length > 0 && <Button variant="link" isInline onClick={() => void undo()}>{_("Undo")}</Button>}>
        {isFailed && <Foreign most={2000}>{errorText(result.error)}</Foreign>}
      </Notice>
    </div>
  );
}
