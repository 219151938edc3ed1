// SPDX-License-Identifier: Apache-2.0

import { useEffect, useState, type RefObject } from "react";

/** Rows above and below the window that are there already when it is scrolled. */
const MARGIN = 8;

/** Which rows of a list of equal rows are in the window: from `first` up to, without, `end`. */
export function useVirtualRange(list: RefObject<HTMLElement>, count: number, rowHeight: number): { first: number; end: number } {
  // What fits into the window is drawn first, and measured afterwards.
  const [range, setRange] = useState(() => ({ first: 0, end: Math.min(count, Math.ceil(window.innerHeight / rowHeight)) }));
  useEffect(() => {
    let frame = 0;
    const measure = () => {
      frame = 0;
      const top = list.current?.getBoundingClientRect().top ?? 0;
      const first = Math.max(0, Math.floor(-top / rowHeight) - MARGIN);
      const end = Math.min(count, Math.ceil((window.innerHeight - top) / rowHeight) + MARGIN);
      setRange((before) => (before.first === first && before.end === end ? before : { first, end }));
    };
    const measureSoon = () => {
      frame ||= requestAnimationFrame(measure);
    };
    measure();
    window.addEventListener("scroll", measureSoon, { passive: true });
    window.addEventListener("resize", measureSoon);
    return () => {
      cancelAnimationFrame(frame);
      window.removeEventListener("scroll", measureSoon);
      window.removeEventListener("resize", measureSoon);
    };
  }, [list, count, rowHeight]);
  return { first: Math.min(range.first, count), end: Math.min(range.end, count) };
}
