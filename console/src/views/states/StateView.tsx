// SPDX-License-Identifier: Apache-2.0
// What the page shows where there is no service to show, and the way out.

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { EmptyState, EmptyStateBody, EmptyStateFooter } from "@patternfly/react-core/dist/esm/components/EmptyState/index.js";
import { Spinner } from "@patternfly/react-core/dist/esm/components/Spinner/Spinner.js";
import ExclamationCircleIcon from "@patternfly/react-icons/dist/esm/icons/exclamation-circle-icon.js";
import LockIcon from "@patternfly/react-icons/dist/esm/icons/lock-icon.js";
import PluggedIcon from "@patternfly/react-icons/dist/esm/icons/plugged-icon.js";
import type { ReactNode } from "react";

import { UNIT } from "../../service/unit.ts";
import type { State } from "../../service/watcher.ts";
import { useService, useSituation } from "../../ui/service.ts";
import { _, clip } from "../../ui/text.ts";
import { ServiceControl } from "../health/ServiceControl.tsx";
import { AdministrativeAccess } from "./AdministrativeAccess.tsx";

interface StateProps {
  title: string;
  icon: typeof LockIcon;
  children: ReactNode;
  actions: ReactNode;
}

function Shown({ title, icon, children, actions }: StateProps) {
  return (
    <EmptyState titleText={title} headingLevel="h2" icon={icon}>
      <EmptyStateBody>{children}</EmptyStateBody>
      <EmptyStateFooter>
        <div className="va-way-out">{actions}</div>
      </EmptyStateFooter>
    </EmptyState>
  );
}

function TryAgain() {
  const { watcher } = useService();
  return <Button variant="link" onClick={() => watcher.start()}>{_("Try again")}</Button>;
}

const LOGS = `/system/logs/#/?prio=info&_SYSTEMD_UNIT=${UNIT}`;

function Logs() {
  return <Button variant="link" onClick={() => cockpit.jump(LOGS)}>{_("See the log")}</Button>;
}

/** `state` is one in which nothing can be shown. */
export function StateView({ state }: { state: Exclude<State, "ready" | "restarting"> }) {
  const { detail } = useSituation();
  switch (state) {
    case "connecting":
      return <EmptyState titleText={_("Connecting to the alerts service")} headingLevel="h2" icon={Spinner} />;
    case "denied":
      return (
        <Shown title={_("Administrative access is needed")} icon={LockIcon} actions={<AdministrativeAccess />}>
          {_("Only administrators see the alerts of this machine.")}
        </Shown>
      );
    case "absent":
      return (
        <Shown title={_("The alerts service is not running")} icon={PluggedIcon} actions={<><ServiceControl /><Logs /></>}>
          {_("Nobody is told of alerts until it runs. This page goes on by itself once it does.")}
        </Shown>
      );
    case "old":
      return (
        <Shown title={_("The alerts service is too old for this page")} icon={ExclamationCircleIcon} actions={<><ServiceControl /><TryAgain /></>}>
          {_("It works, but cannot be watched. Update its package; if that has been done, restart the service.")}
        </Shown>
      );
    case "failing":
      return (
        <Shown title={_("The alerts service gives no proper answer")} icon={ExclamationCircleIcon} actions={<><ServiceControl /><TryAgain /><Logs /></>}>
          <bdi>{clip(detail, 500)}</bdi>
        </Shown>
      );
  }
}
