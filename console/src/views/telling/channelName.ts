// SPDX-License-Identifier: Apache-2.0

import { _ } from "../../ui/text.ts";

export function channelName(name: string): string {
  switch (name) {
    case "mail":
      return _("Mail");
    case "push":
      return _("Push");
    default:
      return name;
  }
}
