// SPDX-License-Identifier: Apache-2.0

import { Alert as Notice } from "@patternfly/react-core/dist/esm/components/Alert/Alert.js";
import { useCallback, useEffect } from "react";

import { tellPageStatus, statusOf } from "./ui/pageStatus.ts";
import { href, type Place, usePlace } from "./ui/location.ts";
import { useLoaded, useService, useServiceEvents, useSituation } from "./ui/service.ts";
import { _, formatNumber } from "./ui/text.ts";
import { useSoon } from "./ui/useSoon.ts";
import { AlertsView } from "./views/alerts/AlertsView.tsx";
import { HealthView } from "./views/health/HealthView.tsx";
import { HistoryView } from "./views/history/HistoryView.tsx";
import { StateView } from "./views/states/StateView.tsx";
import { TellingView } from "./views/telling/TellingView.tsx";

function viewNames(): [string, string][] {
  return [
    ["alerts", _("Alerts")],
    ["history", _("History")],
    ["telling", _("Notifications")],
    ["health", _("Health")],
  ];
}

function View({ place }: { place: Place }) {
  switch (place.path[0]) {
    case "history":
      return <HistoryView />;
    case "telling":
      return <TellingView />;
    case "health":
      return <HealthView />;
    default:
      return <AlertsView place={place} />;
  }
}

/** The numbers of unread and unresolved alerts, here and in Cockpit's menu. */
function useCounts() {
  const { api } = useService();
  const { state } = useSituation();
  const { value, reload } = useLoaded(useCallback(() => api.status(), [api]));
  useServiceEvents(useSoon(reload));
  const counts = state === "ready" || state === "restarting" ? value?.counts : undefined;
  useEffect(() => {
    if (state === "absent" || state === "failing") tellPageStatus({ type: "error", title: _("The alerts service does not answer") });
    else tellPageStatus(counts ? statusOf(counts) : { type: null });
  }, [counts, state]);
  return counts;
}

function Navigation({ current, unread }: { current: string; unread: number }) {
  return (
    <nav className="va-nav" aria-label={_("Views")}>
      {viewNames().map(([path, name]) => (
        <a key={path} href={href([path])} className="va-nav__link" {...(path === current ? { "aria-current": "page" } : {})}>
          {name}
          {path === "alerts" && unread > 0 && <span className="va-nav__count">{formatNumber(unread)}<span className="va-hidden"> {_("unread")}</span></span>}
        </a>
      ))}
    </nav>
  );
}

export function App() {
  const place = usePlace();
  const { state } = useSituation();
  const counts = useCounts();
  const known = viewNames().map(([path]) => path);
  const current = known.includes(place.path[0] ?? "") ? place.path[0] ?? "" : "alerts";
  // While it connects the view asks already: the first list need not wait for the watching to begin.
  const isShown = state === "ready" || state === "restarting" || state === "connecting";
  return (
    <div className="va-page">
      <header className="va-header">
        <h1 className="va-name">{_("Alerts")}</h1>
        <Navigation current={current} unread={counts?.unread ?? 0} />
      </header>
      <main className="va-main">
        {state === "restarting" && (
          <div role="status">
            <Notice component="p" isInline variant="info" title={_("The alerts service is restarting. What you see may be out of date; the page goes on by itself.")} />
          </div>
        )}
        {isShown ? <View place={place} /> : <StateView state={state} />}
      </main>
    </div>
  );
}
