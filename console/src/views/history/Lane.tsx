// SPDX-License-Identifier: Apache-2.0
//
// A row of bars for each bundle, one below the other on the same days: which bundle it is says the place and the name,
// and no colour. For readers by ear the table below says the same.

import { toDay } from "../../service/dates.ts";
import { href } from "../../ui/location.ts";
import { Foreign } from "../../ui/parts.tsx";
import { format, formatDay, formatNumber, plural } from "../../ui/text.ts";

interface LaneProps {
  name: string;
  bundle: string | undefined;
  days: Date[];
  counts: number[];
  /** What a bar of full height counts. */
  most: number;
}

const WIDTH = 10;
const HEIGHT = 60;
/** A single alert among thousands must still be seen. */
const LEAST = 3;

function barHeight(count: number, most: number): number {
  return count === 0 ? 0 : Math.max(LEAST, (count / most) * HEIGHT);
}

export function dayOptions(day: Date, bundle: string | undefined): Record<string, string> {
  const name = toDay(day);
  return { from: name, to: name, ...(bundle ? { bundle } : {}) };
}

export function Lane({ name, bundle, days, counts, most }: LaneProps) {
  const sum = counts.reduce((a, b) => a + b, 0);
  return (
    <div className="va-lane">
      <div className="va-lane__name"><Foreign most={100}>{name}</Foreign> <span className="va-lane__sum">{formatNumber(sum)}</span></div>
      <svg className="va-lane__bars" viewBox={`0 0 ${days.length * WIDTH} ${HEIGHT + 1}`} preserveAspectRatio="none" aria-hidden="true" focusable="false">
        <line className="va-lane__base" x1="0" x2={days.length * WIDTH} y1={HEIGHT + 0.5} y2={HEIGHT + 0.5} />
        {days.map((day, index) => {
          const count = counts[index] ?? 0;
          const height = barHeight(count, most);
          if (count === 0) return null;
          return (
            <a key={index} href={href(["alerts"], dayOptions(day, bundle))} tabIndex={-1}>
              <title>{format("$0: $1", formatDay(day), plural("$0 alert", "$0 alerts", count))}</title>
              <rect className="va-lane__hit" x={index * WIDTH} y={0} width={WIDTH} height={HEIGHT} />
              <rect className="va-lane__bar" x={index * WIDTH + 1} y={HEIGHT - height} width={WIDTH - 2} height={height} />
            </a>
          );
        })}
      </svg>
    </div>
  );
}
