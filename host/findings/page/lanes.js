// The lanes of nearness and states, on the time axis of the plots.
import {Pane} from './plots.js';
import {duration, report, step} from './report.js';
import {placed, series} from './series.js';
import {colourOf, isShown, setTimes, state, theme} from './view.js';
import {proximity, timeAt} from './words.js';

const svgName = 'http://www.w3.org/2000/svg';
function makeSvg(tag, attributes, ...content) {
  const made = document.createElementNS(svgName, tag);
  for (const [name, value] of Object.entries(attributes)) {
    made.setAttribute(name, value);
  }
  made.append(...content);
  return made;
}

const wrongStates = [
  'unknown', 'resetting', 'unsupported', 'unauthorized', 'poweredOff', 'notDetermined',
  'restricted', 'denied', 'refused'
];

/** The lane of a series: stretches of detections of one class of proximity. */
function nearnessLane(each) {
  const stretches = [];
  for (const {at, distance} of placed(each)) {
    const word = proximity(distance);
    const last = stretches[stretches.length - 1];
    if (last !== undefined && at - last.to <= Math.max(2.5, 2 * step)) {
      last.to = at;
    }
    if (last === undefined || last.to !== at || last.state !== word) {
      stretches.push({state: word, from: at, to: Math.min(at + Math.max(step, 0.5), duration)});
    }
  }
  return {name: each.title, each, stretches};
}

function stateLane(lane) {
  const name = {
    bluetooth: 'Bluetooth',
    permission: 'Location permission',
    region: `Region ${lane.name}`
  }[lane.kind];
  return {name, kind: lane.kind, stretches: lane.stretches, leftOut: lane.leftOut};
}

export const nearnessLanes = series.filter((each) => each.detections.length > 0).map(nearnessLane);
export const stateLanes = report.lanes.map(stateLane);

export class LanesPlot extends Pane {
  /** The lanes have the time axis of `graph`. */
  constructor(graph) {
    super('lanes', makeSvg('svg', {'aria-hidden': 'true'}));
    this.graph = graph;
    this.root.addEventListener('dblclick', () => setTimes(0, duration));
  }

  shown() {
    const most = 12;
    return [...nearnessLanes.filter(({each}) => isShown(each)).slice(0, most), ...stateLanes];
  }

  show() {
    const row = 27;
    const lanes = this.shown();
    const area = this.graph.getArea();
    const height = lanes.length * row + 4;
    this.drawing.replaceChildren();
    this.drawing.setAttribute('height', height);
    lanes.forEach((lane, index) => this.drawLane(lane, index * row, area));
  }

  drawLane(lane, top, area) {
    const label = makeSvg('text', {x: area.x, y: top + 12}, lane.name);
    if (lane.each !== undefined) {
      this.drawing.append(makeSvg(
          'rect',
          {x: area.x - 12, y: top + 3, width: 7, height: 20, rx: 2, fill: colourOf(lane.each)}));
    }
    this.drawing.append(label, makeSvg('rect', {
                          x: area.x,
                          y: top + 16,
                          width: area.w,
                          height: 7,
                          rx: 2,
                          fill: theme.panel,
                          stroke: theme.line,
                          'stroke-width': 0.5
                        }));
    const last = lane.stretches.filter(({from, to}) => from <= state.to && to >= state.from);
    for (const stretch of last) {
      const [from, to] = [Math.max(stretch.from, state.from), Math.min(stretch.to, state.to)].map(
          (second) => this.x(second));
      const isThin = stretch.state === 'ranged' && lane.kind === 'region';
      const title = makeSvg(
          'title', {},
          `${lane.name}: ${stretch.state}, ${timeAt(stretch.from)} to ${timeAt(stretch.to)}`);
      this.drawing.append(makeSvg(
          'rect', {
            x: from,
            y: top + (isThin ? 21 : 16),
            width: Math.max(to - from, 2),
            height: isThin                 ? 2.5 :
                stretch.state === 'inside' ? 5 :
                                             7,
            rx: isThin ? 0 : 1.5,
            fill: this.colourOf(stretch.state),
          },
          title));
    }
    const words = [...new Set(last.map(({state: word}) => word))];
    if (lane.each === undefined && words.length > 0) {
      label.append(makeSvg(
          'tspan', {
            fill: words.some((word) => wrongStates.includes(word)) ? theme.alarm : theme.quiet,
            dx: 8
          },
          words.join(', ')));
    }
  }

  colourOf(word) {
    return wrongStates.includes(word) ? theme.alarm : theme[word] || theme.inside;
  }

  setTimes() {
    this.show();
  }
}
