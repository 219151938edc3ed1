// SPDX-License-Identifier: Apache-2.0

import { Question } from "../../ui/Question.tsx";
import { _, plural } from "../../ui/text.ts";
import { MOST_UNDONE, type Bulk } from "./useBulk.ts";

/** Asks before the selected alerts are deleted. */
export function DeleteQuestion({ ids, bulk, close }: { ids: string[]; bulk: Bulk; close: () => void }) {
  return (
    <Question title={plural("Delete $0 alert?", "Delete $0 alerts?", ids.length)} verb={_("Delete")} isDangerous
      failure={_("The alerts could not be deleted")} act={() => bulk.remove(ids)} close={close}>
      {ids.length <= MOST_UNDONE
        ? _("They are deleted from the store, read or not. You can undo this for as long as you stay on this page.")
        : _("They are deleted from the store, read or not. So many cannot be brought back.")}
    </Question>
  );
}
