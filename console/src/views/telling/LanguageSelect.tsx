// SPDX-License-Identifier: Apache-2.0

import { FormSelect, FormSelectOption } from "@patternfly/react-core/dist/esm/components/FormSelect/index.js";

import { clip, languageName, locale } from "../../ui/text.ts";

/** Languages that people are offered; one that is none of these stays where it is set. */
const TAGS = [
  "ar", "bg", "ca", "cs", "da", "de", "el", "en", "es", "et", "fi", "fr", "he", "hi", "hr", "hu", "id", "it", "ja", "ko", "lt", "lv",
  "nb", "nl", "pl", "pt", "pt-BR", "ro", "ru", "sk", "sl", "sr", "sv", "th", "tr", "uk", "vi", "zh-Hans", "zh-Hant",
];

const byName = new Intl.Collator(locale);

interface LanguageSelectProps {
  id: string;
  label?: string;
  value: string;
  /** What no language means; without it a language must be chosen. */
  none?: string;
  isDisabled?: boolean;
  onChange: (tag: string) => void;
}

export function LanguageSelect({ id, label, value, none, isDisabled = false, onChange }: LanguageSelectProps) {
  const tags = TAGS.includes(value) || value === "" ? TAGS : [...TAGS, value];
  const named = tags.map((tag): [string, string] => [tag, languageName(tag)]).sort(([, a], [, b]) => byName.compare(a, b));
  return (
    <FormSelect id={id} aria-label={label} value={value} isDisabled={isDisabled} onChange={(_event, tag) => onChange(tag)}>
      {(none !== undefined || value === "") && <FormSelectOption value="" label={none ?? "–"} />}
      {named.map(([tag, name]) => <FormSelectOption key={tag} value={tag} label={clip(name, 60)} />)}
    </FormSelect>
  );
}
