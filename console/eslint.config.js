// SPDX-License-Identifier: Apache-2.0

import js from "@eslint/js";
import a11y from "eslint-plugin-jsx-a11y";
import hooks from "eslint-plugin-react-hooks";
import typescript from "typescript-eslint";

const node = Object.fromEntries(
  ["process", "console", "URL", "Buffer", "fetch", "setTimeout", "clearTimeout", "performance"].map((name) => [name, "readonly"]),
);
/** Functions that Playwright carries into the page. */
const page = Object.fromEntries(["window", "document", "MutationObserver", "CustomEvent", "requestAnimationFrame", "axe"].map((name) => [name, "readonly"]));

/** Nothing that comes from elsewhere becomes markup or code. */
const noMarkup = [
  { selector: "JSXAttribute[name.name='dangerouslySetInnerHTML']", message: "No text becomes HTML." },
  { selector: "MemberExpression[property.name=/^(innerHTML|outerHTML|insertAdjacentHTML)$/]", message: "No text becomes HTML." },
];

export default typescript.config(
  { ignores: ["dist", "node_modules", ".cache"] },
  js.configs.recommended,
  {
    files: ["src/**/*.{ts,tsx}", "test/unit/*.ts"],
    extends: [...typescript.configs.strictTypeChecked, a11y.flatConfigs.strict],
    plugins: { "react-hooks": hooks },
    languageOptions: { parserOptions: { projectService: true, tsconfigRootDir: import.meta.dirname } },
    rules: {
      ...hooks.configs.recommended.rules,
      "react-hooks/exhaustive-deps": "error",
      "max-lines-per-function": ["error", { max: 60 }],
      "no-restricted-syntax": ["error", ...noMarkup],
      "@typescript-eslint/restrict-template-expressions": ["error", { allowNumber: true }],
      "@typescript-eslint/no-confusing-void-expression": "off",
      "@typescript-eslint/no-misused-promises": ["error", { checksVoidReturn: { attributes: false } }],
    },
  },
  { files: ["src/**/*.d.ts"], rules: { "@typescript-eslint/no-unused-vars": "off" } },
  {
    // node:test's functions give promises that its runner waits for.
    files: ["test/unit/*.ts"],
    rules: { "@typescript-eslint/no-floating-promises": "off", "max-lines-per-function": "off", "@typescript-eslint/require-await": "off" },
  },
  { files: ["**/*.mjs", "*.js"], languageOptions: { globals: { ...node, ...page } } },
);
