// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { useCallback, useEffect, useState } from "react";

import { controlUnit, readUnit, type Unit, UNIT } from "../../service/unit.ts";
import { Loading, Problem } from "../../ui/parts.tsx";
import { useLoaded, useService, useSituation } from "../../ui/service.ts";
import { _, format } from "../../ui/text.ts";

function activityText({ active, sub }: Unit): string {
  switch (active) {
    case "active":
      return _("running");
    case "inactive":
      return _("stopped");
    case "failed":
      return _("failed");
    case "activating":
    case "reloading":
      return _("starting");
    case "deactivating":
      return _("stopping");
    default:
      return `${active} (${sub})`;
  }
}

function fileText(file: string): string {
  switch (file) {
    case "enabled":
      return _("starts with the machine");
    case "disabled":
      return _("does not start with the machine");
    case "masked":
      return _("must not be started (masked)");
    default:
      return file;
  }
}

/** The unit's state in words, and the buttons to start and restart it. */
export function ServiceControl({ onChange }: { onChange?: () => void }) {
  const { watcher } = useService();
  const { state } = useSituation();
  const { value: unit, error, isLoading, reload } = useLoaded(readUnit);
  const [isBusy, setBusy] = useState(false);
  const [failure, setFailure] = useState<unknown>();
  useEffect(() => reload(), [state, reload]);

  const control = useCallback(
    (verb: "start" | "restart") => {
      setBusy(true);
      setFailure(undefined);
      controlUnit(verb)
        .then(() => watcher.start(), setFailure)
        .finally(() => {
          setBusy(false);
          reload();
          onChange?.();
        });
    },
    [watcher, reload, onChange],
  );
  if (error !== undefined) return <Problem title={_("systemd gives no answer")} error={error} retry={reload} />;
  if (!unit) return isLoading ? <Loading /> : null;
  if (unit.load === "not-found") return <p>{format(_("The unit $0 is not installed on this machine."), UNIT)}</p>;
  const isRunning = unit.active === "active";
  return (
    <div className="va-control">
      <p>
        {UNIT}: <strong>{activityText(unit)}</strong>
        {unit.result !== "" && unit.result !== "success" && ` (${unit.result})`}, {fileText(unit.file)}
      </p>
      <Problem title={_("systemd refused")} error={failure} />
      <Button variant={isRunning ? "secondary" : "primary"} isDisabled={isBusy} isLoading={isBusy} onClick={() => control(isRunning ? "restart" : "start")}>
        {isRunning ? _("Restart the service") : _("Start the service")}
      </Button>
    </div>
  );
}
