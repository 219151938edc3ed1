// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { useState } from "react";

import { _, plural } from "../../ui/text.ts";
import { DeleteQuestion } from "./DeleteQuestion.tsx";
import type { Bulk } from "./useBulk.ts";

interface BulkBarProps {
  selected: ReadonlySet<string>;
  bulk: Bulk;
  onClear: () => void;
  /** Where the list goes on beyond what is selected. */
  selectEverything: (() => void) | undefined;
}

/** What can be done to the selected alerts. */
export function BulkBar({ selected, bulk, onClear, selectEverything }: BulkBarProps) {
  const [deleting, setDeleting] = useState<string[]>();
  const ids = [...selected];
  const isBusy = bulk.work !== undefined;
  return (
    <>
      {ids.length > 0 && (
        <section className="va-bulk" aria-label={_("Selected alerts")}>
          <strong>{plural("$0 selected", "$0 selected", ids.length)}</strong>
          {selectEverything && <Button variant="link" isInline onClick={selectEverything}>{_("Select all that match")}</Button>}
          <Button variant="secondary" isDisabled={isBusy} onClick={() => void bulk.mark("read", ids)}>{_("Mark as read")}</Button>
          <Button variant="secondary" isDisabled={isBusy} onClick={() => void bulk.mark("resolve", ids)}>{_("Mark as resolved")}</Button>
          <Button variant="danger" isDisabled={isBusy} onClick={() => setDeleting(ids)}>{_("Delete…")}</Button>
          <Button variant="link" isInline onClick={onClear}>{_("Clear selection")}</Button>
        </section>
      )}
      {deleting && <DeleteQuestion ids={deleting} bulk={bulk} close={() => setDeleting(undefined)} />}
    </>
  );
}
