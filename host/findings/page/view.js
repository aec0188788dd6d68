// What is shown: all series or one alone, a stretch of time, and the time under the cursor. A part
// of the page that depends on it has methods for what changes: `show` for the series and their
// colours, `setTimes` for the stretch of time, `showCursor` for the cursor.
import {duration, step} from './report.js';
import {colours, series} from './series.js';

export const state = {
  alone: null,
  from: 0,
  to: duration,
  cursor: null
};
export const parts = [];
export const theme = {};

export function readTheme() {
  const style = getComputedStyle(document.documentElement);
  for (const name
           of ['paper', 'panel', 'ink', 'quiet', 'line', 'immediate', 'near', 'far', 'inside',
               'ranged', 'alarm']) {
    theme[name] = style.getPropertyValue(`--${name}`).trim();
  }
  theme.series = Array.from(
      {length: colours}, (unused, index) => style.getPropertyValue(`--series-${index + 1}`).trim());
  theme.rest = style.getPropertyValue('--series-rest').trim();
}

export const hasColour = (each) => each.place < colours;
export const colourOf = (each) => hasColour(each) ? theme.series[each.place] :
    state.alone === each                          ? theme.series[0] :
                                                    theme.rest;
export const nameOf = (each) => `series ${each.place}`;
export const isShown = (each) => state.alone === null || state.alone === each;
/** The first series is drawn last, so that it lies on top. */
export const shownSeries = () => series.filter(isShown).reverse();

export function setTimes(from, to) {
  const shortest = Math.min(duration, Math.max(4 * step, 0.5));
  const width = Math.min(duration, Math.max(to - from, shortest));
  const begin = Math.min(Math.max((from + to - width) / 2, 0), duration - width);
  state.from = begin;
  state.to = begin + width;
  parts.forEach((part) => part.setTimes?.());
  setCursor(state.cursor);
}

export const cursorOrMiddle = () =>
    state.cursor === null ? (state.from + state.to) / 2 : state.cursor;

export function zoom(factor) {
  const middle = cursorOrMiddle();
  setTimes(middle - (middle - state.from) * factor, middle + (state.to - middle) * factor);
}

export function pan(fraction) {
  const move = (state.to - state.from) * fraction;
  const by = Math.min(Math.max(move, -state.from), duration - state.to);
  setTimes(state.from + by, state.to + by);
}

export function setCursor(second) {
  state.cursor = second === null ? null : Math.min(Math.max(second, state.from), state.to);
  parts.forEach((part) => part.showCursor?.());
}

export function showAlone(each) {
  state.alone = each;
  parts.forEach((part) => part.show?.());
}
