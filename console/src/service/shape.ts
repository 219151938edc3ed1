// SPDX-License-Identifier: Apache-2.0
// What comes from the service is looked at once, here, and is of the right kind from then on.

export class ShapeError extends Error {
  override name = "ShapeError";
}

type Read<T> = (value: unknown, path: string) => T;

function wrong(path: string, kind: string): never {
  throw new ShapeError(`${path} is no ${kind}`);
}

export const text: Read<string> = (value, path) => (typeof value === "string" ? value : wrong(path, "string"));

export const number: Read<number> = (value, path) =>
  typeof value === "number" && Number.isFinite(value) ? value : wrong(path, "number");

export const boolean: Read<boolean> = (value, path) => (typeof value === "boolean" ? value : wrong(path, "boolean"));

export const dictionary: Read<Record<string, unknown>> = (value, path) =>
  typeof value === "object" && value !== null && !Array.isArray(value)
    ? (value as Record<string, unknown>)
    : wrong(path, "object");

/** An absent value is left out, null, or what client libraries without null send. */
export function isAbsent(value: unknown): boolean {
  return (
    value === undefined || value === null || (typeof value === "object" && "$absent" in value && value.$absent === true)
  );
}

export function optional<T>(read: Read<T>): Read<T | undefined> {
  return (value, path) => (isAbsent(value) ? undefined : read(value, path));
}

export function list<T>(read: Read<T>): Read<T[]> {
  return (value, path) =>
    Array.isArray(value) ? value.map((one, index) => read(one, `${path}[${index}]`)) : wrong(path, "array");
}

export function oneOf<T extends string>(...words: T[]): Read<T> {
  return (value, path) => words.find((word) => word === value) ?? wrong(path, words.join(" or "));
}

export function map<T>(read: Read<T>): Read<Record<string, T>> {
  return (value, path) =>
    Object.fromEntries(Object.entries(dictionary(value, path)).map(([key, one]) => [key, read(one, `${path}.${key}`)]));
}

type Fields<T> = { [Key in keyof T]-?: Read<T[Key]> };

/** Members that are not named are passed over: a newer service may say more. */
export function structure<T extends object>(fields: Fields<T>): Read<T> {
  const entries: [string, Read<unknown>][] = Object.entries(fields);
  return (value, path) => {
    const members = dictionary(value, path);
    const known: unknown = Object.fromEntries(entries.map(([key, read]) => [key, read(members[key], `${path}.${key}`)]));
    return known as T;
  };
}
