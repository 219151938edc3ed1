// SPDX-License-Identifier: Apache-2.0
// Light or dark, as Cockpit's menu says: it keeps the choice in the local storage, and tells of changes.

const KEY = "shell:style";
const DARK = "pf-v6-theme-dark";

export function followTheme(): void {
  const system = window.matchMedia("(prefers-color-scheme: dark)");
  const apply = (style: string | null) => {
    const isDark = style === "dark" || (style !== "light" && system.matches);
    document.documentElement.classList.toggle(DARK, isDark);
  };
  const stored = () => window.localStorage.getItem(KEY);
  window.addEventListener("storage", (event) => event.key === KEY && apply(event.newValue));
  window.addEventListener("cockpit-style", (event) => {
    apply((event as CustomEvent<{ style?: string }>).detail.style ?? stored());
  });
  system.addEventListener("change", () => apply(stored()));
  apply(stored());
}
