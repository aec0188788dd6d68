// What the plots show, as texts and tables.
import {nearnessLanes, stateLanes} from './lanes.js';
import {duration} from './report.js';
import {placed, series, strongest} from './series.js';
import {isShown} from './view.js';
import {byId, clockText, counted, grouped, make, metres, proximity, strengthText, timeAt} from './words.js';

function makeTable(head, rows) {
  const cells = (tag, texts) =>
      texts.map((text, index) => make(tag, index === 0 ? {} : {className: 'number'}, text));
  return make(
      'div', {className: 'alternative'},
      make(
          'table', {}, make('thead', {}, make('tr', {}, ...cells('th', head))),
          make('tbody', {}, ...rows.map((row) => make('tr', {}, ...cells('td', row))))));
}

function setText(id, ...content) {
  const details = byId(id);
  details.replaceChildren(details.firstElementChild, ...content);
}

export function describe() {
  const shown = series.filter(isShown);
  setText(
      'signal-text',
      makeTable(
          ['Device', 'Heard', 'From', 'To', 'Weakest', 'Mean', 'Strongest', 'at', 'Detections'],
          shown.map((each) => {
            const best = strongest(each);
            return [
              each.title,
              grouped(each.device.heard),
              clockText(each.device.first),
              clockText(each.device.last),
              ...['min', 'mean', 'max'].map((key) => strengthText(each.device, key)),
              best === null ? '\u2013' : timeAt(best.at, 0),
              grouped(each.detections.reduce((sum, {count}) => sum + count, 0)),
            ];
          })));
  const rows = shown.map((each) => [each, placed(each)]).filter(([, found]) => found.length > 0);
  setText(
      'distance-text',
      makeTable(['Device', 'Nearest', 'at', 'Farthest', 'at'], rows.map(([each, found]) => {
        const nearest = found.reduce((best, next) => next.nearest < best.nearest ? next : best);
        const farthest = found.reduce((best, next) => next.farthest > best.farthest ? next : best);
        return [
          each.title, `${metres(nearest.nearest)} (${proximity(nearest.nearest)})`,
          timeAt(nearest.at, 0), metres(farthest.farthest), timeAt(farthest.at, 0)
        ];
      })));
  const lanes = [...nearnessLanes.filter(({each}) => isShown(each)), ...stateLanes];
  setText('lanes-text', make('ul', {}, ...lanes.map((lane) => {
            const few = lane.stretches.slice(0, 40).map(
                (stretch) =>
                    `${stretch.state} ${timeAt(stretch.from, 0)}\u2013${timeAt(stretch.to, 0)}`);
            const more = lane.stretches.length - few.length + (lane.leftOut || 0);
            return make(
                'li', {}, make('b', {}, lane.name),
                `: ${few.join(', ') || 'nothing'}${more > 0 ? `, and ${grouped(more)} more` : ''}`);
          })));
  const names = counted(shown.length, 'device');
  byId('signal').setAttribute(
      'aria-label',
      `Plot of the signal strength of ${names} from ${timeAt(0, 0)} to ${
          timeAt(duration, 0)}. The same as text follows.`);
  byId('distance')
      .setAttribute(
          'aria-label',
          `Plot of the distance of the detections of ${names}. The same as text follows.`);
  byId('lanes').setAttribute(
      'aria-label',
      `Lanes of nearness, regions, Bluetooth and the permission. The same as text follows.`);
}
