// The plots of signal strength and distance, which dygraphs draws. The legend of dygraphs is never
// shown, but would measure itself with an inline style, which the page's policy forbids.
import {duration, report, source, step} from './report.js';
import {distances, placed, series, smooth, tableOf} from './series.js';
import {colourOf, hasColour, isShown, nameOf, setCursor, setTimes, showAlone, shownSeries, state, theme} from './view.js';
import {byId, dateAt, dateText, make, secondAt, timeText} from './words.js';

Dygraph.PLUGINS = Dygraph.PLUGINS.filter((plugin) => plugin !== Dygraph.Plugins.Legend);

/** A drawing over the time shown, with the cursor on it. `graph` is the dygraph of its axis. */
export class Pane {
  constructor(id, drawing) {
    this.root = byId(id);
    this.drawing = drawing;
    this.cursor = make('div', {className: 'cursor', hidden: true});
    this.root.append(drawing, this.cursor);
    this.root.addEventListener('mousemove', (event) => setCursor(this.secondOf(event)));
    this.root.addEventListener('mouseleave', () => setCursor(null));
  }

  x(second) {
    return this.graph.toDomXCoord(dateAt(second).getTime());
  }

  secondOf(event) {
    return secondAt(
        this.graph.toDataXCoord(event.clientX - this.root.getBoundingClientRect().left));
  }

  showCursor() {
    this.cursor.hidden = state.cursor === null;
    if (state.cursor !== null) {
      this.cursor.style.left = `${this.x(state.cursor)}px`;
    }
  }
}

/** A plot of lines, one for each series. */
class Plot extends Pane {
  constructor(id, points, options) {
    super(id, make('div'));
    this.drawing.style.width = this.drawing.style.height = '100%';
    this.isOurs = false;
    // The last one is drawn on top.
    const drawn = [...series].reverse();
    this.drawn = drawn;
    this.graph = new Dygraph(this.drawing, tableOf(drawn.map(points)), {
      labels: ['time', ...drawn.map(nameOf), 'strongest'],
      series: {
        strongest: {showInRangeSelector: true},
        ...Object.fromEntries(drawn.filter((each) => !hasColour(each))
                                  .map((each) => [nameOf(each), {strokeWidth: 1}])),
      },
      labelsUTC: true,
      legend: 'never',
      connectSeparatedPoints: true,
      strokeWidth: 1.8,
      axisLabelWidth: 62,
      highlightCircleSize: 0,
      rightGap: 4,
      dateWindow: [dateAt(0).getTime(), dateAt(duration).getTime()],
      underlayCallback: (context, area, graph) => {
        // The first call comes from within the constructor.
        this.graph = graph;
        context.save();
        context.beginPath();
        context.rect(area.x, area.y, area.w, area.h);
        context.clip();
        this.drawUnder(context, area);
        context.restore();
      },
      drawCallback: (graph, isInitial) => {
        const [from, to] = graph.xAxisRange();
        if (!isInitial && !this.isOurs) {
          setTimes(secondAt(from), secondAt(to));
        }
      },
      interactionModel: this.interaction(),
      clickCallback: (event) => this.clicked(event),
      ...options,
      axes: {
        x: {
          pixelsPerLabel: 80,
          axisLabelFormatter: (date, granularity) => axisText(date, granularity)
        },
        ...options.axes,
      },
    });
  }

  /** A drag along the time zooms, a double click shows the whole, a click shows one alone. */
  interaction() {
    const atY = (event, context) => Dygraph.pageY(event) - context.py;
    return {
      mousedown: (event, graph, context) => {
        if (event.button === 0) {
          context.initializeMouseDown(event, graph, context);
          Dygraph.startZoom(event, graph, context);
          const begin = context.dragStartX;
          const move = (next) => {
            context.dragStartY = atY(next, context);
            Dygraph.moveZoom(next, graph, context);
          };
          const up = (next) => {
            document.removeEventListener('mousemove', move);
            document.removeEventListener('mouseup', up);
            // At this time dygraphs has forgotten where the drag began.
            context.dragStartX = begin;
            context.dragStartY = atY(next, context);
            Dygraph.endZoom(next, graph, context);
            context.destroy();
          };
          document.addEventListener('mousemove', move);
          document.addEventListener('mouseup', up);
        }
      },
      dblclick: () => setTimes(0, duration),
    };
  }

  clicked(event) {
    const box = this.root.getBoundingClientRect();
    const found = this.nearest(event.clientX - box.left, event.clientY - box.top);
    if (found !== null) {
      showAlone(state.alone === found ? null : found);
    }
  }

  /** The series with a mark within 24 pixels of a place, or null. */
  nearest(x, y) {
    let best = null;
    let least = 24 * 24;
    for (const each of series.filter(isShown)) {
      for (const [at, value] of this.marks(each)) {
        const [markX, markY] = [this.x(at), this.y(value)];
        const distance = (markX - x) ** 2 + (markY - y) ** 2;
        if (distance < least) {
          [best, least] = [each, distance];
        }
      }
    }
    return best;
  }

  y(value) {
    return this.graph.toDomYCoord(value);
  }

  update(options) {
    this.isOurs = true;
    this.graph.updateOptions(options);
    this.isOurs = false;
  }

  setTimes() {
    this.update({dateWindow: [dateAt(state.from).getTime(), dateAt(state.to).getTime()]});
  }

  show() {
    this.update({
      visibility: [...this.drawn.map(isShown), false],
      colors: [...this.drawn.map(colourOf), theme.quiet],
      axisLineColor: theme.line,
      gridLineColor: theme.line,
      rangeSelectorPlotStrokeColor: theme.rest,
      rangeSelectorPlotFillColor: theme.line,
      rangeSelectorPlotFillGradientColor: theme.line,
      rangeSelectorForegroundStrokeColor: theme.quiet,
      rangeSelectorBackgroundStrokeColor: theme.line,
    });
  }

  drawJumps(context, area) {
    context.strokeStyle = theme.alarm;
    context.setLineDash([4, 4]);
    for (const jump of source.jumps) {
      context.beginPath();
      context.moveTo(this.x(jump.at), area.y);
      context.lineTo(this.x(jump.at), area.y + area.h);
      context.stroke();
    }
    context.setLineDash([]);
  }
}

function axisText(date, granularity) {
  const shown = state.to - state.from;
  const time = timeText(date, shown < 10 ? 1 : 0);
  return granularity >= Dygraph.DAILY ? dateText(date) : shown > 3 * 3600 ? time.slice(0, 5) : time;
}

function dot(context, x, y, radius) {
  context.beginPath();
  context.arc(x, y, radius, 0, 2 * Math.PI);
  context.fill();
}

export class SignalPlot extends Plot {
  constructor() {
    const all = series.flatMap((each) => each.readings);
    const least = all.reduce((found, each) => Math.min(found, each.least), -60);
    const most = all.reduce((found, each) => Math.max(found, each.most), -90);
    super('signal', (each) => smooth(each.readings), {
      valueRange: [Math.floor((least - 3) / 5) * 5, Math.ceil((most + 3) / 5) * 5],
      axes: {
        y: {axisLabelWidth: 44, axisLabelFormatter: (value) => String(value).replace('-', '\u2212')}
      },
      showRangeSelector: true,
      rangeSelectorHeight: 34,
      rangeSelectorAlpha: 0.7,
    });
  }

  marks(each) {
    return each.readings.map(({at, mean}) => [at, mean]);
  }

  /** Every reading as a faint dot, or as a band from the least to the most of a cell. */
  drawUnder(context, area) {
    const width = Math.max(2, Math.min(6, this.x(step) - this.x(0)));
    for (const each of shownSeries()) {
      context.fillStyle = colourOf(each);
      context.globalAlpha = hasColour(each) || state.alone === each ? 0.3 : 0.18;
      for (const {at, least, most} of each.readings) {
        if (at < state.from - step || at > state.to + step) {
          continue;
        }
        const [x, top] = [this.x(at), this.y(most)];
        if (least === most) {
          dot(context, x, top, 1.6);
        } else {
          context.fillRect(x - width / 2, top - 1, width, this.y(least) - top + 2);
        }
      }
      context.globalAlpha = hasColour(each) || state.alone === each ? 1 : 0.5;
      for (const {at, rssi} of each.detections) {
        if (rssi !== null && at >= state.from && at <= state.to) {
          dot(context, this.x(at), this.y(rssi), 2.3);
        }
      }
    }
    context.globalAlpha = 1;
    this.drawJumps(context, area);
  }
}

export class DistancePlot extends Plot {
  constructor() {
    const all = series.flatMap(placed);
    const nearest = all.reduce((found, each) => Math.min(found, each.nearest), 0.4);
    const farthest = all.reduce((found, each) => Math.max(found, each.farthest), 10);
    const range = [Math.max(nearest, 0.01) / 1.3, farthest * 1.3];
    super('distance', (each) => distances(each.detections), {
      valueRange: range,
      logscale: true,
      axes: {
        y: {
          axisLabelWidth: 44,
          logscale: true,
          ticker:
              () => [0.01, 0.1, 1, 10, 100, 1000]
                        .flatMap((decade) => [decade, 2 * decade, 5 * decade])
                        .filter((value) => value >= range[0] && value <= range[1])
                        .map((value) => ({v: value, label: String(Number(value.toPrecision(2)))})),
        },
      },
    });
  }

  marks(each) {
    return placed(each).map(({at, distance}) => [at, distance]);
  }

  drawUnder(context, area) {
    const bounds = [Number.MIN_VALUE, ...report.bounds, 1e9];
    ['immediate', 'near', 'far'].forEach((name, index) => {
      const top = Math.max(area.y, index === 2 ? area.y : this.y(bounds[index + 1]));
      const bottom =
          Math.min(area.y + area.h, index === 0 ? area.y + area.h : this.y(bounds[index]));
      context.globalAlpha = [0.2, 0.1, 0.03][index];
      context.fillStyle = theme.immediate;
      context.fillRect(area.x, top, area.w, bottom - top);
      context.globalAlpha = 1;
      context.fillStyle = theme.quiet;
      context.font = '11.5px system-ui, sans-serif';
      context.textBaseline = 'top';
      context.textAlign = 'right';
      context.fillText(name, area.x + area.w - 6, top + 4);
    });
    for (const each of shownSeries()) {
      context.fillStyle = context.strokeStyle = colourOf(each);
      for (const {at, distance, nearest, farthest, silent} of each.detections) {
        if (at < state.from || at > state.to) {
          continue;
        }
        const x = this.x(at);
        context.globalAlpha = 0.35;
        if (distance !== null && nearest < farthest) {
          context.fillRect(x - 1.5, this.y(farthest), 3, this.y(nearest) - this.y(farthest));
        }
        context.globalAlpha = 0.9;
        if (distance !== null) {
          dot(context, x, this.y(distance), 2);
        }
        if (silent > 0) {
          context.beginPath();
          context.arc(x, area.y + 6, 2.5, 0, 2 * Math.PI);
          context.stroke();
        }
      }
    }
    context.globalAlpha = 1;
    this.drawJumps(context, area);
  }
}
