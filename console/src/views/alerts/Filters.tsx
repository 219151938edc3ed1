// SPDX-License-Identifier: Apache-2.0

import { Button } from "@patternfly/react-core/dist/esm/components/Button/Button.js";
import { Checkbox } from "@patternfly/react-core/dist/esm/components/Checkbox/Checkbox.js";
import { FormSelect, FormSelectOption } from "@patternfly/react-core/dist/esm/components/FormSelect/index.js";
import { TextInput } from "@patternfly/react-core/dist/esm/components/TextInput/TextInput.js";
import { useEffect, useRef, useState } from "react";

import { Field } from "../../ui/parts.tsx";
import { go, replace } from "../../ui/location.ts";
import { _, clip, plural } from "../../ui/text.ts";
import { filtersOf, type Options } from "./query.ts";

interface FiltersProps {
  filters: Options;
  bundles: Record<string, string>;
  types: string[];
}

interface ChoiceProps {
  id: string;
  label: string;
  all: string;
  value: string;
  choices: [string, string][];
  onChange: (value: string) => void;
}

function Choice({ id, label, all, value, choices, onChange }: ChoiceProps) {
  const isKnown = value === "" || choices.some(([choice]) => choice === value);
  return (
    <Field id={id} label={label}>
      <FormSelect id={id} value={value} onChange={(_event, chosen) => onChange(chosen)}>
        <FormSelectOption value="" label={all} />
        {choices.map(([choice, name]) => (
          <FormSelectOption key={choice} value={choice} label={clip(name, 60)} />
        ))}
        {!isKnown && <FormSelectOption value={value} label={clip(value, 60)} />}
      </FormSelect>
    </Field>
  );
}

/** Milliseconds after the last key until the service is asked. */
const TYPING = 300;

/** What is typed goes into the address when the reader stops; what comes with the address goes into the field. */
function SearchField({ value, onChange }: { value: string; onChange: (value: string) => void }) {
  const [typed, setTyped] = useState(value);
  const timer = useRef<ReturnType<typeof setTimeout>>();
  useEffect(() => setTyped(value), [value]);
  useEffect(() => () => clearTimeout(timer.current), []);
  const type = (text: string) => {
    setTyped(text);
    clearTimeout(timer.current);
    timer.current = setTimeout(() => onChange(text), TYPING);
  };
  return (
    <Field id="filter-text" label={_("Text")}>
      <TextInput id="filter-text" type="search" value={typed} onChange={(_event, text) => type(text)} />
    </Field>
  );
}

function DayField({ id, label, value, onChange }: { id: string; label: string; value: string; onChange: (value: string) => void }) {
  return (
    <Field id={id} label={label}>
      <TextInput id={id} type="date" value={value} max="9999-12-31" onChange={(_event, day) => onChange(day)} />
    </Field>
  );
}

export function Filters({ filters, bundles, types }: FiltersProps) {
  const [isOpen, setOpen] = useState(false);
  const change = (name: string) => (value: string) => {
    (name === "text" ? replace : go)(["alerts"], filtersOf({ ...filters, [name]: value }));
  };
  const names = Object.entries(bundles).sort(([, a], [, b]) => a.localeCompare(b));
  const count = Object.keys(filters).length;
  return (
    <section className="va-filters" aria-label={_("Filters")}>
      <SearchField value={filters.text ?? ""} onChange={change("text")} />
      <Button className="va-filters__toggle" variant="secondary" aria-expanded={isOpen} aria-controls="filters" onClick={() => setOpen(!isOpen)}>
        {count > 0 ? plural("Filters ($0)", "Filters ($0)", count) : _("Filters")}
      </Button>
      <div id="filters" className={`va-filters__rest${isOpen ? " va-filters__rest--open" : ""}`}>
        <Choice id="filter-bundle" label={_("Bundle")} all={_("All bundles")} value={filters.bundle ?? ""} choices={names} onChange={change("bundle")} />
        <Choice id="filter-type" label={_("Kind")} all={_("All kinds")} value={filters.type ?? ""} choices={types.map((type) => [type, type])} onChange={change("type")} />
        <DayField id="filter-from" label={_("Sent from")} value={filters.from ?? ""} onChange={change("from")} />
        <DayField id="filter-to" label={_("Sent until")} value={filters.to ?? ""} onChange={change("to")} />
        <div className="va-filters__checks">
          <Checkbox id="filter-unread" label={_("Unread")} isChecked={filters.unread === "1"} onChange={(_event, is) => change("unread")(is ? "1" : "")} />
          <Checkbox id="filter-unresolved" label={_("Unresolved")} isChecked={filters.unresolved === "1"} onChange={(_event, is) => change("unresolved")(is ? "1" : "")} />
        </div>
        {count > 0 && (
          <Button variant="link" onClick={() => go(["alerts"])}>
            {_("Clear filters")}
          </Button>
        )}
      </div>
    </section>
  );
}
