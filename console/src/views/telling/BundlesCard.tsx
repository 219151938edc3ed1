// SPDX-License-Identifier: Apache-2.0

import { Card, CardBody, CardTitle } from "@patternfly/react-core/dist/esm/components/Card/index.js";
import { Switch } from "@patternfly/react-core/dist/esm/components/Switch/Switch.js";
import { useCallback } from "react";

import type { BundleSettings } from "../../service/types.ts";
import { Cell, Foreign, Loading, Problem, Table, TableRow } from "../../ui/parts.tsx";
import { useLoaded, useService, useServiceEvents } from "../../ui/service.ts";
import { _, clip, format } from "../../ui/text.ts";
import { useChange } from "./useChange.ts";

interface BundleProps {
  id: string;
  settings: BundleSettings;
  isBusy: boolean;
  set: (part: Partial<BundleSettings>) => void;
}

function Bundle({ id, settings: { name, mailEnabled, pushEnabled }, isBusy, set }: BundleProps) {
  const shown = name ?? id;
  const isDropped = mailEnabled !== true && pushEnabled !== true;
  return (
    <TableRow>
      <Cell label={_("Bundle")}>
        <Foreign most={200}>{shown}</Foreign>
        {isDropped && <><br /><small className="va-hint">{_("Its alerts are dropped, and not kept either.")}</small></>}
      </Cell>
      <Cell label={_("Mail")}>
        <Switch id={`mail-${id}`} aria-label={format(_("$0 by mail"), clip(shown, 100))} isChecked={mailEnabled === true} isDisabled={isBusy} onChange={(_event, is) => set({ mailEnabled: is })} />
      </Cell>
      <Cell label={_("Push")}>
        <Switch id={`push-${id}`} aria-label={format(_("$0 by push"), clip(shown, 100))} isChecked={pushEnabled === true} isDisabled={isBusy} onChange={(_event, is) => set({ pushEnabled: is })} />
      </Cell>
    </TableRow>
  );
}

/** Which bundles' alerts go out, and by which way. */
export function BundlesCard() {
  const { api } = useService();
  const { value, error, isLoading, reload } = useLoaded(useCallback(() => api.bundleSettings(), [api]));
  const { isBusy, error: failure, change } = useChange(reload);
  useServiceEvents((events) => {
    if (events.some(({ kind }) => kind === "settings" || kind === "lost")) reload();
  });
  // A switch that is left out counts as off, so both are written, as they are at that moment.
  const set = (id: string, part: Partial<BundleSettings>) =>
    void change(async () => {
      const now = (await api.bundleSettings())[id];
      await api.setBundleSettings({ [id]: { mailEnabled: now?.mailEnabled, pushEnabled: now?.pushEnabled, ...part } });
    });
  const bundles = Object.entries(value ?? {}).sort(([a], [b]) => a.localeCompare(b));
  return (
    <Card>
      <CardTitle component="h2">{_("Bundles")}</CardTitle>
      <CardBody>
        <Problem title={_("The bundles could not be read")} error={error} retry={reload} />
        <Problem title={_("The change was not made")} error={failure} />
        {!value && isLoading && <Loading />}
        {value && bundles.length === 0 && <p className="va-hint">{_("No bundle is installed.")}</p>}
        {bundles.length > 0 && (
          <Table label={_("Bundles")} heads={[_("Bundle"), _("Mail"), _("Push")]}>
            {bundles.map(([id, settings]) => <Bundle key={id} id={id} settings={settings} isBusy={isBusy} set={(part) => set(id, part)} />)}
          </Table>
        )}
      </CardBody>
    </Card>
  );
}
