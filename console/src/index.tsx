// SPDX-License-Identifier: Apache-2.0

import "@patternfly/react-core/dist/styles/base.css";
import "@patternfly/react-styles/css/components/Table/table.css";
import "@patternfly/react-styles/css/components/Table/table-grid.css";

import { createRoot } from "react-dom/client";

import { App } from "./App.tsx";
import { openChannel } from "./bridge.ts";
import { Api } from "./service/api.ts";
import { Watcher } from "./service/watcher.ts";
import { ServiceContext } from "./ui/service.ts";
import { _ } from "./ui/text.ts";
import { followTheme } from "./ui/theme.ts";
import { Client } from "./varlink/client.ts";

// After the styles of PatternFly's components, which come with the views, since it says otherwise in places.
import "./page.css";

function start(): void {
  const client = new Client(openChannel);
  const service = { api: new Api(client), watcher: new Watcher(client) };
  const home = document.getElementById("page");
  if (!home) return;
  document.title = _("Alerts");
  document.documentElement.lang = cockpit.language;
  document.documentElement.dir = cockpit.language_direction;
  followTheme();
  service.watcher.start();
  createRoot(home).render(
    <ServiceContext.Provider value={service}>
      <App />
    </ServiceContext.Provider>,
  );
}

document.addEventListener("DOMContentLoaded", start);
