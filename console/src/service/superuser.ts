// SPDX-License-Identifier: Apache-2.0
// Administrative access, as Cockpit's bridge keeps it for the whole session.

export interface Prompt {
  message: string;
  prompt: string;
  isEchoed: boolean;
  error: string;
}

type Ask = (prompt: Prompt) => Promise<string | undefined>;

export class Superuser {
  private readonly proxy = cockpit.dbus(null, { bus: "internal" }).proxy("cockpit.Superuser", "/superuser");

  /** The ways to administrative access that this machine has; none where the session cannot get any. */
  async bridges(): Promise<string[]> {
    await this.proxy.wait();
    return this.proxy.valid ? this.proxy.Bridges ?? [] : [];
  }

  /** Tries each way until one succeeds. What the bridge asks on its way is asked of `ask`; undefined gives up. */
  async start(ask: Ask): Promise<void> {
    let isWanted = true;
    const onPrompt = (_event: Event, message: unknown, prompt: unknown, _default: unknown, echo: unknown, error: unknown) => {
      const asked = { message: String(message), prompt: String(prompt), isEchoed: echo === true, error: String(error) };
      void ask(asked).then((answer) => {
        isWanted = answer !== undefined;
        return answer === undefined ? this.proxy.Stop?.() : this.proxy.Answer?.(answer);
      });
    };
    this.proxy.addEventListener("Prompt", onPrompt);
    try {
      await this.tryEach(await this.bridges(), () => isWanted);
    } finally {
      this.proxy.removeEventListener("Prompt", onPrompt);
    }
  }

  private async tryEach(bridges: string[], isWanted: () => boolean): Promise<void> {
    let last: unknown = new Error("no way");
    for (const bridge of bridges) {
      try {
        await this.proxy.Start?.(bridge);
        return;
      } catch (error) {
        last = error;
      }
      if (!isWanted()) break;
    }
    throw last;
  }
}
