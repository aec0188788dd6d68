// The legend, which shows the values under the cursor.
import {report, step} from './report.js';
import {colours, nearestTo, placed, series, strongest} from './series.js';
import {colourOf, isShown, parts, showAlone, state} from './view.js';
import {badgeOf, byId, counted, dBm, make, metres, proximity, swatch, timeAt} from './words.js';

const legend = new Map();

function valueText(each) {
  if (state.cursor === null) {
    const best = strongest(each);
    return best === null ? 'no strength' : `strongest ${dBm(best.most)} at ${timeAt(best.at, 0)}`;
  }
  const reach = Math.max(2, step, (state.to - state.from) / 100);
  const reading = nearestTo(each.readings, state.cursor, reach);
  const detection = nearestTo(placed(each), state.cursor, reach);
  const words =
      [reading === null ? 'not heard' :
           reading.least === reading.most ?
                          dBm(reading.mean) :
                          `${dBm(reading.mean)} (${counted(reading.count, 'reading')})`];
  if (detection !== null) {
    words.push(`${metres(detection.distance)} ${proximity(detection.distance)}`);
  }
  return words.join(' \u00b7 ');
}

function showValues() {
  byId('cursor-time').textContent = state.cursor === null ?
      `${timeAt(state.from, 0)} \u2013 ${timeAt(state.to, 0)}` :
      timeAt(state.cursor);
  for (const [each, entry] of legend) {
    if (isShown(each)) {
      entry.querySelector('.value').textContent = valueText(each);
    }
  }
}

function showPressed() {
  for (const [each, entry] of legend) {
    entry.setAttribute('aria-pressed', String(state.alone === each));
    entry.querySelector('.swatch').style.background = colourOf(each);
  }
  byId('all').hidden = state.alone === null;
}

export function makeLegend() {
  for (const each of series) {
    const entry = make(
        'button', {type: 'button', 'aria-pressed': 'false', title: 'Show alone'},
        swatch(colourOf(each)), make('span', {}, each.title, ...badgeOf(each.index)),
        make('span', {className: 'value'}));
    entry.addEventListener('click', () => showAlone(state.alone === each ? null : each));
    legend.set(each, entry);
    byId('legend').append(make('li', {}, entry));
  }
  const notes = [];
  if (series.length > colours) {
    notes.push(`The first ${colours} have a colour; the others are grey until shown alone.`);
  }
  if (report.seriesLeftOut > 0) {
    notes.push(`${counted(report.seriesLeftOut, 'more device')} of the table ${
        report.seriesLeftOut === 1 ? 'is' : 'are'} not in the plots.`);
  }
  byId('legend-note').textContent = notes.join(' ');
  byId('all').addEventListener('click', () => showAlone(null));
  parts.push({show: showPressed, showCursor: showValues});
}
