// SPDX-License-Identifier: Apache-2.0
// One change to many alerts, a call each.

export interface Outcome {
  done: string[];
  /** What was not done, with the reason; what has not been tried is not among them. */
  failed: [string, unknown][];
}

/** As many calls as the client has connections. */
const AT_ONCE = 4;

/** Goes on after failures, and ends early once `isWanted` says no; nothing is tried twice. */
export async function doToMany(
  ids: readonly string[],
  change: (id: string) => Promise<void>,
  onProgress: (count: number) => void,
  isWanted: () => boolean,
): Promise<Outcome> {
  const outcome: Outcome = { done: [], failed: [] };
  let at = 0;
  const worker = async () => {
    for (let id = ids[at++]; id !== undefined && isWanted(); id = ids[at++]) {
      try {
        await change(id);
        outcome.done.push(id);
      } catch (error) {
        outcome.failed.push([id, error]);
      }
      onProgress(outcome.done.length + outcome.failed.length);
    }
  };
  await Promise.all(Array.from({ length: AT_ONCE }, worker));
  return outcome;
}
