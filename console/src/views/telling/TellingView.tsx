// SPDX-License-Identifier: Apache-2.0

import { BundlesCard } from "./BundlesCard.tsx";
import { DeliveriesCard } from "./DeliveriesCard.tsx";
import { MailCard } from "./MailCard.tsx";
import { PushCard } from "./PushCard.tsx";

/** Who is told of alerts, by which way, and what came of it. */
export function TellingView() {
  return (
    <div className="va-cards">
      <MailCard />
      <PushCard />
      <BundlesCard />
      <DeliveriesCard />
    </div>
  );
}
