// SPDX-License-Identifier: Apache-2.0
// A device's token: people have it in hexadecimal or in base64, the service takes base64.

function bytesToBase64(bytes: number[]): string {
  return btoa(String.fromCharCode(...bytes));
}

function isBase64(text: string): boolean {
  return text.length % 4 === 0 && /^[A-Za-z0-9+/]+={0,2}$/.test(text);
}

/** In base64; undefined for what is neither. What could be both is hexadecimal, as devices show it. */
export function tokenToBase64(text: string): string | undefined {
  const plain = text.replace(/[\s<>:-]/g, "");
  if (plain !== "" && plain.length % 2 === 0 && /^[0-9a-f]+$/i.test(plain)) {
    return bytesToBase64((plain.match(/../g) ?? []).map((pair) => parseInt(pair, 16)));
  }
  const trimmed = text.trim();
  return isBase64(trimmed) ? trimmed : undefined;
}

/** The first bytes in hexadecimal, to tell devices apart. */
export function tokenHint(base64: string): string {
  try {
    const bytes = Array.from(atob(base64.slice(0, 16)), (character) => character.charCodeAt(0));
    return `${bytes.slice(0, 6).map((byte) => byte.toString(16).padStart(2, "0")).join("")}…`;
  } catch {
    return "";
  }
}
