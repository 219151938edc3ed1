// SPDX-License-Identifier: Apache-2.0

import { Label } from "@patternfly/react-core/dist/esm/components/Label/Label.js";
import { useCallback } from "react";

import type { Channel } from "../../service/types.ts";
import { Foreign, Moment, Problem } from "../../ui/parts.tsx";
import { useLoaded, useService, useServiceEvents } from "../../ui/service.ts";
import { _, format, formatNumber } from "../../ui/text.ts";
import { useSoon } from "../../ui/useSoon.ts";

/** What the gateway has answered since the service started; nobody asks it only to know. */
function stateLabel({ delivered, failed, lastError }: Channel) {
  if (lastError !== undefined) return <Label isCompact status="warning">{_("has failed")}</Label>;
  if (delivered + failed > 0) return <Label isCompact status="success">{_("answers")}</Label>;
  return <Label isCompact>{_("not used yet")}</Label>;
}

export function GatewayState() {
  const { api } = useService();
  const { value, error, reload } = useLoaded(useCallback(() => api.status(), [api]));
  useServiceEvents(useSoon(reload));
  const push = value?.channels.find(({ name }) => name === "push");
  return (
    <div className="va-gateway">
      <Problem title={_("The gateway's state could not be read")} error={error} retry={reload} />
      {push && (
        <p>
          {_("Push gateway:")} {stateLabel(push)}{" "}
          {format(_("$0 delivered, $1 failed, $2 under way since the service started."), formatNumber(push.delivered), formatNumber(push.failed), formatNumber(push.pending))}
        </p>
      )}
      {push?.lastError !== undefined && <p><Moment date={push.lastFailure} />: <Foreign>{push.lastError}</Foreign></p>}
    </div>
  );
}
