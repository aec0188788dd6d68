// Draws the page of `nimbrel report`. Its data is the JSON document in the element "data", which
// `nimbrel report --json` writes alone:
//
//   headline        the result in one sentence
//   source          kind ("recording", "scenario" or "live"), files, command (makes the report
//                   again), begin (milliseconds since 1970 at second 0 of the run), zone and offset
//                   (seconds ahead of UTC), damagedPackets, and jumps of the recording's clock: at
//                   (seconds of the run), before and after (milliseconds since 1970)
//   run             what `nimbrel explain --json` says of the run, with at most a thousand beacons;
//                   beaconsLeftOut is how many there are beyond them
//   bounds          the distances in metres at which near and far begin
//   devices         what `nimbrel explain --json` says of each device; first those that were missed
//                   (as many as missed says), then those detected (detected), then the others
//   rest            the devices that are not listed, as counts: devices, heard, and topics, each
//                   with topic and devices
//   step            the length of a cell in seconds; cell N begins at second N * step of the run
//   series          for each device in the plots: device (its index in devices); readings,
//                   [cell, dBm] or [cell, least, mean, most, count]; detections, [cell, dBm,
//                   metres] or [cell, mean dBm, mean metres, nearest, farthest, count, silent],
//                   with null if there is no strength or no distance, and silent of them without
//                   both
//   seriesLeftOut   how many listed devices have no series because there would be too many
//   lanes           kind ("bluetooth", "permission" or "region"), name of a region, stretches (each
//                   with state, from and to in seconds of the run), and leftOut, how many stretches
//                   there are beyond those
//
// Texts of devices come from the air and go into the page as text alone, never as HTML.
(() => {
  'use strict';

  const report = JSON.parse(document.getElementById('data').textContent);
  const {run, source, devices, step} = report;
  const isGeneric = run.mode === 'generic';
  const length = Math.max(run.seconds, step);

  // Fates in the order in which a bar shows them, with what they mean.
  const fates = new Map([
    ['event', 'led to a detection event'],
    ['ranged', 'heard, and a filter accepts it'],
    ['thinned', 'less than 2 s after the last one, and less than 3 dB away'],
    ['coalesced', 'a repeat within a second, which the phone held back'],
    ['refused', 'no filter accepts its major and minor'],
    ['otherUuid', 'no filter asks for its UUID'],
    ['withheld', 'the phone keeps it from this mode'],
    ['deaf', 'nothing was listening'],
    ['notAdmitted', 'neither manufacturer data nor a word that says beacon'],
    ['noIBeacon', 'no iBeacon frame'],
  ]);

  // Elements and words

  const byId = (id) => document.getElementById(id);

  /** An element with properties, and with texts and elements in it. */
  function make(tag, properties = {}, ...content) {
    const made = document.createElement(tag);
    for (const [name, value] of Object.entries(properties)) {
      if (name in made) {
        made[name] = value;
      } else {
        made.setAttribute(name, value);
      }
    }
    made.append(...content);
    return made;
  }

  const grouped = (number) => number.toLocaleString('en-US');
  const counted = (number, noun) => `${grouped(number)} ${noun}${number === 1 ? '' : 's'}`;
  const padded = (number, digits = 2) => String(number).padStart(digits, '0');
  const dBm = (strength) => `${String(Math.round(strength * 10) / 10).replace('-', '\u2212')} dBm`;

  function metres(distance) {
    return `${distance < 10 ? distance.toPrecision(2) : Math.round(distance)} m`;
  }

  /** A reading of the report's clock, as a Date whose UTC fields are those of the report's zone. */
  const clock = (milliseconds) => new Date(milliseconds + source.offset * 1000);
  const dateText = (date) =>
      `${date.getUTCFullYear()}-${padded(date.getUTCMonth() + 1)}-${padded(date.getUTCDate())}`;
  const timeText =
      (date, digits = 3) => [date.getUTCHours(), date.getUTCMinutes(), date.getUTCSeconds()]
                                .map((part) => padded(part))
                                .join(':') +
      (digits > 0 ? `.${padded(date.getUTCMilliseconds(), 3).slice(0, digits)}` : '');
  const dateAt = (second) => clock(source.begin + second * 1000);
  const secondAt = (date) => (date - dateAt(0)) / 1000;
  const timeAt = (second, digits = 1) => timeText(dateAt(second), digits);

  function durationText(seconds) {
    const whole = Math.floor(seconds);
    if (whole < 120) {
      return `${seconds.toFixed(1)} s`;
    }
    const hours = Math.floor(whole / 3600);
    return `${hours > 0 ? `${hours} h ` : ''}${Math.floor(whole / 60) % 60} min ${whole % 60} s`;
  }

  function stepText() {
    return step < 1 ? `${Math.round(step * 1000)} ms` : durationText(step).replace(/\.0 s$/, ' s');
  }

  function proximity(distance) {
    const [near, far] = report.bounds;
    return distance < near ? 'immediate' : distance < far ? 'near' : 'far';
  }

  const beaconKey = (beacon) => `${beacon.uuid}/${beacon.majorId}/${beacon.minorId}`;
  const acceptedBeacons = new Map(run.beacons.map((beacon) => [beaconKey(beacon), beacon]));

  /** The label that a filter gives to a device's beacon, or an empty text. */
  function labelOf(device) {
    const beacon = device.frame === 'iBeacon' ? acceptedBeacons.get(beaconKey(device)) : undefined;
    const label = beacon === undefined || beacon.identifier === null ? '' : beacon.identifier;
    return label !== '' && run.filters.some((filter) => filter.filter.endsWith(`=${label}`)) ?
        label :
        '';
  }

  function beaconText(device) {
    return device.frame === null ?
        '' :
        `${device.frame} ${device.uuid.slice(0, 8)}\u2026 ${device.majorId}/${device.minorId}`;
  }

  function titleOf(device) {
    const label = labelOf(device);
    const numbers = label === '' ? '' : ` ${device.majorId}/${device.minorId}`;
    return (label + numbers) || device.name || beaconText(device) || device.device;
  }

  function subtitleOf(device) {
    const title = titleOf(device);
    const parts = [device.name, beaconText(device), `${device.device} ${device.addressType}`];
    return parts.filter((part) => part && part !== title).join(' \u00b7 ');
  }

  /** What marks a device that was missed. */
  const badgeOf = (index) =>
      index < report.missed ? [make('span', {className: 'badge'}, 'missed')] : [];

  // The series

  /** What a plot needs of one series: arrays of cells with their middle in seconds. */
  function readSeries(each, place) {
    const device = devices[each.device];
    const middle = (cell) => Math.min((cell + 0.5) * step, length);
    return {
      place,
      device,
      index: each.device,
      title: titleOf(device),
      readings: each.readings.map(([cell, least, mean = least, most = least,
                                    count = 1]) => ({at: middle(cell), least, mean, most, count})),
      detections: each.detections.map(
          ([
            cell, rssi, distance, nearest = distance, farthest = distance, count = 1,
            silent = rssi === null ? 1 : 0
          ]) => ({at: middle(cell), rssi, distance, nearest, farthest, count, silent})),
    };
  }

  const series = report.series.map(readSeries);
  const seriesOf = new Map(series.map((each) => [each.index, each]));
  const colours = 8;
  // A silence that breaks a line, and the width of the mean that a line shows, in seconds.
  const silence = Math.max(10, 3 * step);
  const meanWidth = Math.max(2, length / 80, 2 * step);

  /** The mean over a moving window at each reading, and a break (NaN) in each silence. */
  function smooth(readings) {
    const points = [];
    let begin = 0;
    let end = 0;
    let sum = 0;
    let count = 0;
    for (let place = 0; place < readings.length; ++place) {
      const {at} = readings[place];
      for (; end < readings.length && readings[end].at <= at + meanWidth / 2; ++end) {
        sum += readings[end].mean * readings[end].count;
        count += readings[end].count;
      }
      for (; readings[begin].at < at - meanWidth / 2; ++begin) {
        sum -= readings[begin].mean * readings[begin].count;
        count -= readings[begin].count;
      }
      if (place > 0 && at - readings[place - 1].at > silence) {
        points.push([readings[place - 1].at + silence / 2, NaN]);
      }
      points.push([at, sum / count]);
    }
    return points;
  }

  function distances(detections) {
    const points = [];
    for (const {at, distance} of detections) {
      const last = points.at(-1);
      if (last !== undefined && at - last[0] > silence) {
        points.push([last[0] + silence / 2, NaN]);
      }
      if (distance !== null) {
        points.push([at, distance]);
      }
    }
    return points;
  }

  /**
   * The strongest of all series over time, for the range selector: [second, dBm], in even steps.
   */
  function envelope() {
    const bins = 200;
    const best = new Array(bins).fill(null);
    for (const {at, mean} of series.flatMap((each) => each.readings)) {
      const bin = Math.min(Math.floor(at / length * bins), bins - 1);
      best[bin] = best[bin] === null ? mean : Math.max(best[bin], mean);
    }
    return (at) => best[Math.min(Math.floor(at / length * bins), bins - 1)];
  }

  /**
   * The table of numbers that dygraphs takes, from the points of each series. The last column is
   * for the range selector.
   */
  function tableOf(all) {
    const rows = new Map([[0, null], [length, null]]);
    for (const points of all) {
      for (const [at] of points) {
        rows.set(at, null);
      }
    }
    const sorted = [...rows.keys()].sort((left, right) => left - right);
    const strongestAt = envelope();
    const table = sorted.map((at, row) => {
      rows.set(at, row);
      return [dateAt(at), ...new Array(all.length).fill(null), strongestAt(at)];
    });
    all.forEach((points, column) => {
      for (const [at, value] of points) {
        table[rows.get(at)][column + 1] = value;
      }
    });
    return table;
  }

  // What is shown: all series or one alone, a stretch of time, and the time under the cursor

  const state = {alone: null, from: 0, to: length, cursor: null};
  const plots = [];
  const theme = {};

  function readTheme() {
    const style = getComputedStyle(document.documentElement);
    for (const name
             of ['paper', 'panel', 'ink', 'quiet', 'line', 'immediate', 'near', 'far', 'inside',
                 'ranged', 'alarm']) {
      theme[name] = style.getPropertyValue(`--${name}`).trim();
    }
    theme.series = Array.from(
        {length: colours},
        (unused, index) => style.getPropertyValue(`--series-${index + 1}`).trim());
    theme.rest = style.getPropertyValue('--series-rest').trim();
  }

  const hasColour = (each) => each.place < colours;
  const colourOf = (each) => hasColour(each) ? theme.series[each.place] :
      state.alone === each                   ? theme.series[0] :
                                               theme.rest;
  const nameOf = (each) => `series ${each.place}`;
  const isShown = (each) => state.alone === null || state.alone === each;
  /** The first series is drawn last, so that it lies on top. */
  const shownSeries = () => series.filter(isShown).reverse();

  function setTimes(from, to) {
    const shortest = Math.min(length, Math.max(4 * step, 0.5));
    const width = Math.min(length, Math.max(to - from, shortest));
    const begin = Math.min(Math.max((from + to - width) / 2, 0), length - width);
    state.from = begin;
    state.to = begin + width;
    for (const plot of plots) {
      plot.setTimes();
    }
    setCursor(state.cursor);
  }

  const cursorOrMiddle = () => state.cursor === null ? (state.from + state.to) / 2 : state.cursor;

  function zoom(factor) {
    const middle = cursorOrMiddle();
    setTimes(middle - (middle - state.from) * factor, middle + (state.to - middle) * factor);
  }

  function pan(fraction) {
    const move = (state.to - state.from) * fraction;
    const by = Math.min(Math.max(move, -state.from), length - state.to);
    setTimes(state.from + by, state.to + by);
  }

  function setCursor(second) {
    state.cursor = second === null ? null : Math.min(Math.max(second, state.from), state.to);
    for (const plot of plots) {
      plot.showCursor();
    }
    showValues();
  }

  function showAlone(each) {
    state.alone = each;
    for (const plot of plots) {
      plot.show();
    }
    for (const [other, entry] of legend) {
      entry.setAttribute('aria-pressed', String(other === each));
      entry.querySelector('.swatch').style.background = colourOf(other);
    }
    byId('all').hidden = each === null;
    for (const row of rowOf.values()) {
      row.classList.toggle('alone', each !== null && rowOf.get(each.index) === row);
    }
    describe();
  }

  // Plots of dygraphs. Its own legend is never shown, but would measure itself with an inline
  // style, which the page's policy forbids.
  Dygraph.PLUGINS = Dygraph.PLUGINS.filter((plugin) => plugin !== Dygraph.Plugins.Legend);

  class Plot {
    constructor(id, points, options) {
      this.root = byId(id);
      this.chart = make('div');
      this.chart.style.width = this.chart.style.height = '100%';
      this.cursor = make('div', {className: 'cursor', hidden: true});
      this.root.append(this.chart, this.cursor);
      this.isOurs = false;
      // The last one is drawn on top.
      const drawn = [...series].reverse();
      this.drawn = drawn;
      this.graph = new Dygraph(this.chart, tableOf(drawn.map(points)), {
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
        dateWindow: [dateAt(0).getTime(), dateAt(length).getTime()],
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
      this.root.addEventListener('mousemove', (event) => setCursor(this.secondOf(event)));
      this.root.addEventListener('mouseleave', () => setCursor(null));
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
        dblclick: () => setTimes(0, length),
      };
    }

    secondOf(event) {
      return secondAt(
          this.graph.toDataXCoord(event.clientX - this.root.getBoundingClientRect().left));
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

    x(second) {
      return this.graph.toDomXCoord(dateAt(second).getTime());
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

    showCursor() {
      this.cursor.hidden = state.cursor === null;
      if (state.cursor !== null) {
        this.cursor.style.left = `${this.x(state.cursor)}px`;
      }
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
    return granularity >= Dygraph.DAILY ? dateText(date) :
        shown > 3 * 3600                ? time.slice(0, 5) :
                                          time;
  }

  function dot(context, x, y, radius) {
    context.beginPath();
    context.arc(x, y, radius, 0, 2 * Math.PI);
    context.fill();
  }

  class SignalPlot extends Plot {
    constructor() {
      const all = series.flatMap((each) => each.readings);
      const least = all.reduce((found, each) => Math.min(found, each.least), -60);
      const most = all.reduce((found, each) => Math.max(found, each.most), -90);
      super('signal', (each) => smooth(each.readings), {
        valueRange: [Math.floor((least - 3) / 5) * 5, Math.ceil((most + 3) / 5) * 5],
        axes: {
          y: {
            axisLabelWidth: 44,
            axisLabelFormatter: (value) => String(value).replace('-', '\u2212')
          }
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

  class DistancePlot extends Plot {
    constructor() {
      const all =
          series.flatMap((each) => each.detections).filter((each) => each.distance !== null);
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
                          .map(
                              (value) => ({v: value, label: String(Number(value.toPrecision(2)))})),
          },
        },
      });
    }

    marks(each) {
      return each.detections.filter(({distance}) => distance !== null)
          .map(({at, distance}) => [at, distance]);
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

  // Lanes, on the same time axis

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
    for (const {at, distance} of each.detections.filter(
             (detection) => detection.distance !== null)) {
      const word = proximity(distance);
      const last = stretches[stretches.length - 1];
      if (last !== undefined && at - last.to <= Math.max(2.5, 2 * step)) {
        last.to = at;
      }
      if (last === undefined || last.to !== at || last.state !== word) {
        stretches.push({state: word, from: at, to: Math.min(at + Math.max(step, 0.5), length)});
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

  const nearnessLanes = series.filter((each) => each.detections.length > 0).map(nearnessLane);
  const stateLanes = report.lanes.map(stateLane);

  class LanesPlot {
    constructor(plot) {
      this.plot = plot;
      this.root = byId('lanes');
      this.cursor = make('div', {className: 'cursor', hidden: true});
      this.svg = makeSvg('svg', {'aria-hidden': 'true'});
      this.root.append(this.svg, this.cursor);
      this.root.addEventListener('mousemove', (event) => setCursor(plot.secondOf(event)));
      this.root.addEventListener('mouseleave', () => setCursor(null));
      this.root.addEventListener('dblclick', () => setTimes(0, length));
    }

    shown() {
      const most = 12;
      return [...nearnessLanes.filter(({each}) => isShown(each)).slice(0, most), ...stateLanes];
    }

    show() {
      const row = 27;
      const lanes = this.shown();
      const area = this.plot.graph.getArea();
      const height = lanes.length * row + 4;
      this.svg.replaceChildren();
      this.svg.setAttribute('height', height);
      lanes.forEach((lane, index) => this.drawLane(lane, index * row, area));
    }

    drawLane(lane, top, area) {
      const label = makeSvg('text', {x: area.x, y: top + 12}, lane.name);
      if (lane.each !== undefined) {
        this.svg.append(makeSvg(
            'rect',
            {x: area.x - 12, y: top + 3, width: 7, height: 20, rx: 2, fill: colourOf(lane.each)}));
      }
      this.svg.append(label, makeSvg('rect', {
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
            (second) => this.plot.x(second));
        const isThin = stretch.state === 'ranged' && lane.kind === 'region';
        const title = makeSvg(
            'title', {},
            `${lane.name}: ${stretch.state}, ${timeAt(stretch.from)} to ${timeAt(stretch.to)}`);
        this.svg.append(makeSvg(
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

    showCursor() {
      this.cursor.hidden = state.cursor === null;
      if (state.cursor !== null) {
        this.cursor.style.left = `${this.plot.x(state.cursor)}px`;
      }
    }
  }

  // The legend, which shows the values under the cursor

  const legend = new Map();

  /** The element of `sorted` that is nearest to a second, if it is within `reach` of it. */
  function nearestTo(sorted, second, reach) {
    let low = 0;
    let high = sorted.length;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (sorted[middle].at < second) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    const found =
        [sorted[low - 1], sorted[low]]
            .filter((each) => each !== undefined)
            .sort((left, right) => Math.abs(left.at - second) - Math.abs(right.at - second))[0];
    return found !== undefined && Math.abs(found.at - second) <= reach ? found : null;
  }

  function strongest(each) {
    return each.readings.reduce(
        (best, reading) => best === null || reading.most > best.most ? reading : best, null);
  }

  function valueText(each) {
    if (state.cursor === null) {
      const best = strongest(each);
      return best === null ? 'no strength' : `strongest ${dBm(best.most)} at ${timeAt(best.at, 0)}`;
    }
    const reach = Math.max(2, step, (state.to - state.from) / 100);
    const reading = nearestTo(each.readings, state.cursor, reach);
    const detection =
        nearestTo(each.detections.filter(({distance}) => distance !== null), state.cursor, reach);
    const parts =
        [reading === null ? 'not heard' :
             reading.least === reading.most ?
                            dBm(reading.mean) :
                            `${dBm(reading.mean)} (${counted(reading.count, 'reading')})`];
    if (detection !== null) {
      parts.push(`${metres(detection.distance)} ${proximity(detection.distance)}`);
    }
    return parts.join(' \u00b7 ');
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

  function makeLegend() {
    for (const each of series) {
      const swatch = make('span', {className: 'swatch'});
      swatch.style.background = colourOf(each);
      const entry = make(
          'button', {type: 'button', 'aria-pressed': 'false', title: 'Show alone'}, swatch,
          make('span', {}, each.title, ...badgeOf(each.index)), make('span', {className: 'value'}));
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
  }

  // Text alternatives

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

  function describe() {
    const shown = series.filter(isShown);
    setText(
        'signal-text',
        makeTable(
            ['Device', 'Heard', 'From', 'To', 'Weakest', 'Mean', 'Strongest', 'at', 'Detections'],
            shown.map((each) => {
              const best = strongest(each);
              const {rssi} = each.device;
              return [
                each.title,
                grouped(each.device.heard),
                timeText(clock(each.device.first), 1),
                timeText(clock(each.device.last), 1),
                ...(rssi === null ? ['\u2013', '\u2013', '\u2013'] :
                                    [dBm(rssi.min), dBm(rssi.mean), dBm(rssi.max)]),
                best === null ? '\u2013' : timeAt(best.at, 0),
                grouped(each.detections.reduce((sum, {count}) => sum + count, 0)),
              ];
            })));
    const placed =
        shown.map((each) => [each, each.detections.filter(({distance}) => distance !== null)])
            .filter(([, found]) => found.length > 0);
    setText(
        'distance-text',
        makeTable(['Device', 'Nearest', 'at', 'Farthest', 'at'], placed.map(([each, found]) => {
          const nearest = found.reduce((best, next) => next.nearest < best.nearest ? next : best);
          const farthest =
              found.reduce((best, next) => next.farthest > best.farthest ? next : best);
          return [
            each.title, `${metres(nearest.nearest)} (${proximity(nearest.nearest)})`,
            timeAt(nearest.at, 0), metres(farthest.farthest), timeAt(farthest.at, 0)
          ];
        })));
    const lanes = [...nearnessLanes.filter(({each}) => isShown(each)), ...stateLanes];
    setText(
        'lanes-text', make('ul', {}, ...lanes.map((lane) => {
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
            timeAt(length, 0)}. The same as text follows.`);
    byId('distance')
        .setAttribute(
            'aria-label',
            `Plot of the distance of the detections of ${names}. The same as text follows.`);
    byId('lanes').setAttribute(
        'aria-label',
        `Lanes of nearness, regions, Bluetooth and the permission. The same as text follows.`);
  }

  // The tables

  const rowOf = new Map();

  function fatesText(device) {
    return Object.entries(device.fates)
        .map(([fate, count]) => `${fate} ${grouped(count)}`)
        .join(', ');
  }

  function fatesBar(device) {
    const bar = make('div', {className: 'fates', title: fatesText(device)});
    for (const fate of fates.keys()) {
      if (device.fates[fate] > 0) {
        const part = make('i');
        part.style.flex = `${device.fates[fate]} 0 0`;
        part.style.background = `var(--fate-${fate})`;
        bar.append(part);
      }
    }
    return make('div', {}, bar, make('span', {className: 'unseen'}, fatesText(device)));
  }

  const strengthOf = (device, key) => device.rssi === null ? undefined : device.rssi[key];

  const columns = [
    {title: 'Device', value: (device) => titleOf(device).toLowerCase(), isText: true},
    {
      title: 'What became of it',
      value: (device) => (device.fates.event || device.fates.ranged || 0) / device.heard,
      cell: fatesBar
    },
    {title: 'Heard', value: (device) => device.heard, text: (device) => grouped(device.heard)},
    ...(isGeneric ? [{
      title: 'Events',
      value: (device) => device.events,
      text: (device) => grouped(device.events)
    }] :
                    [{
                      title: 'Ranged',
                      value: (device) => device.fates.ranged || 0,
                      text: (device) => grouped(device.fates.ranged || 0)
                    }]),
    {
      title: 'Weakest',
      value: (device) => strengthOf(device, 'min'),
      text: (device) => device.rssi === null ? '\u2013' : dBm(device.rssi.min)
    },
    {
      title: 'Mean',
      value: (device) => strengthOf(device, 'mean'),
      text: (device) => device.rssi === null ? '\u2013' : dBm(device.rssi.mean)
    },
    {
      title: 'Strongest',
      value: (device) => strengthOf(device, 'max'),
      text: (device) => device.rssi === null ? '\u2013' : dBm(device.rssi.max)
    },
    {
      title: 'First',
      value: (device) => device.first,
      text: (device) => timeText(clock(device.first), 1),
      ascends: true
    },
    {
      title: 'Last',
      value: (device) => device.last,
      text: (device) => timeText(clock(device.last), 1)
    },
  ];

  const table = {sorted: null, descends: false, most: 100, open: new Set()};
  const everything = devices.map((device, index) => ({
                                   device,
                                   index,
                                   text: [
                                     titleOf(device), subtitleOf(device), device.identifier,
                                     device.uuid, ...(device.beacons || []).map(beaconKey),
                                     ...Object.keys(device.fates), ...device.why, ...device.iphone
                                   ].join('\n')
                                             .toLowerCase(),
                                 }));

  function sortedDevices() {
    const wanted = byId('search').value.trim().toLowerCase();
    const found = everything.filter(({text}) => text.includes(wanted));
    if (table.sorted !== null) {
      const {value} = table.sorted;
      const sign = table.descends ? -1 : 1;
      found.sort((left, right) => {
        const [one, other] = [value(left.device), value(right.device)];
        if (one === undefined || other === undefined) {
          return (one === undefined) - (other === undefined);
        }
        return one < other ? -sign : one > other ? sign : left.index - right.index;
      });
    }
    return found;
  }

  function detailsOf(device) {
    const facts = [
      ['Identifier', device.identifier],
      [
        'Beacon',
        device.frame === null ?
            '' :
            `${device.frame} ${beaconKey(device)}, ${dBm(device.txPower)} at one metre`
      ],
      [
        'Company',
        device.company === null ? '' :
                                  `0x${device.company.toString(16).toUpperCase().padStart(4, '0')}`
      ],
      ['Fates', fatesText(device)],
      ['First', `${dateText(clock(device.first))} ${timeText(clock(device.first))}`],
      ['Last', `${dateText(clock(device.last))} ${timeText(clock(device.last))}`],
    ].filter(([, text]) => text !== '');
    const content = [make(
        'dl', {className: 'facts'},
        ...facts.map(
            ([name, text]) => make('div', {}, make('dt', {}, name), make('dd', {}, text))))];
    const list = (title, sentences) => {
      if (sentences.length > 0) {
        content.push(
            make('h3', {}, title),
            make('ul', {}, ...sentences.map((sentence) => make('li', {}, sentence))));
      }
    };
    list('Why', device.why);
    list('On an iPhone', device.iphone);
    list(
        'All its beacons',
        (device.beacons ||
         []).map((beacon) => `${beaconKey(beacon)}, heard ${counted(beacon.heard, 'time')}`));
    return content;
  }

  function toggle(device, index, row, opener) {
    const isOpen = !table.open.has(index);
    opener.setAttribute('aria-expanded', String(isOpen));
    if (isOpen) {
      table.open.add(index);
      row.after(make(
          'tr', {className: 'details'},
          make('td', {colSpan: columns.length}, ...detailsOf(device))));
    } else {
      table.open.delete(index);
      row.nextElementSibling.remove();
    }
    const own = seriesOf.get(index);
    if (isOpen && own !== undefined) {
      showAlone(own);
    } else if (!isOpen && state.alone === own) {
      showAlone(null);
    }
  }

  function rowFor({device, index}) {
    const own = seriesOf.get(index);
    const swatch = make('span', {className: 'swatch'});
    if (own !== undefined) {
      swatch.style.background = colourOf(own);
    }
    const name = make('span', {}, titleOf(device), ...badgeOf(index));
    const opener = make(
        'button', {type: 'button', className: 'opener', 'aria-expanded': 'false'}, swatch, name,
        make('small', {}, subtitleOf(device)));
    const row = make('tr', {className: 'device'}, make('td', {className: 'wide'}, opener));
    for (const {title, cell, text} of columns.slice(1)) {
      row.append(
          cell !== undefined ?
              make('td', {className: 'wide'}, cell(device)) :
              make('td', {className: 'number', 'data-label': title}, text(device)));
    }
    opener.addEventListener('click', () => toggle(device, index, row, opener));
    return row;
  }

  function showTable() {
    const found = sortedDevices();
    const shown = found.slice(0, table.most);
    rowOf.clear();
    table.open.clear();
    byId('devices').tBodies[0].replaceChildren(...shown.map((entry) => {
      const row = rowFor(entry);
      rowOf.set(entry.index, row);
      row.classList.toggle('alone', state.alone !== null && state.alone.index === entry.index);
      return row;
    }));
    byId('found').textContent = found.length === devices.length ?
        counted(devices.length, 'device') :
        `${grouped(found.length)} of ${counted(devices.length, 'device')}`;
    byId('more').hidden = shown.length === found.length;
    byId('more').textContent = `Show all ${grouped(found.length)}`;
  }

  function sortBy(column, head) {
    table.descends = table.sorted === column ? !table.descends : !(column.isText || column.ascends);
    table.sorted = column;
    for (const other of byId('devices').tHead.rows[0].cells) {
      other.removeAttribute('aria-sort');
    }
    head.setAttribute('aria-sort', table.descends ? 'descending' : 'ascending');
    showTable();
  }

  function makeDeviceTable() {
    for (const column of columns) {
      const button = make('button', {type: 'button'}, column.title);
      const head =
          make('th', {scope: 'col', className: column.text === undefined ? '' : 'number'}, button);
      button.addEventListener('click', () => sortBy(column, head));
      byId('devices').tHead.rows[0].append(head);
    }
    byId('search').addEventListener('input', showTable);
    byId('more').addEventListener('click', () => {
      table.most = Infinity;
      showTable();
    });
    const present = [...fates].filter(([fate]) => devices.some((device) => device.fates[fate] > 0));
    byId('fates').append(...present.map(([fate, meaning]) => {
      const box = make('i');
      box.style.background = `var(--fate-${fate})`;
      return make('li', {}, box, make('b', {}, fate), ` ${meaning}`);
    }));
    const {rest} = report;
    if (rest.devices > 0) {
      byId('rest').append(
          make(
              'p', {},
              `${counted(rest.devices, 'more device')}, heard ${counted(rest.heard, 'time')}, ${
                  rest.devices === 1 ? 'is' : 'are'} not listed:`),
          make(
              'ul', {},
              ...rest.topics.map(
                  ({topic, devices: count}) =>
                      make('li', {}, `${counted(count, 'device')}: ${topic}`))));
    }
    showTable();
  }

  function makeBeaconTable() {
    if (run.beacons.length === 0) {
      return;
    }
    byId('beacons-section').hidden = false;
    const head = ['Beacon', 'Devices', 'Heard', 'Events', 'of them silent'];
    byId('beacons').tHead.rows[0].append(...head.map(
        (text, index) => make('th', {scope: 'col', className: index > 0 ? 'number' : ''}, text)));
    for (const beacon of run.beacons.slice(0, 200)) {
      const row = make(
          'tr', {},
          make(
              'td', {className: 'wide'}, make('b', {}, beacon.identifier || ''),
              ` ${beaconKey(beacon)}`));
      [beacon.devices, beacon.heard, beacon.events, beacon.silent].forEach((number, index) => {
        row.append(
            make('td', {className: 'number', 'data-label': head[index + 1]}, grouped(number)));
      });
      byId('beacons').tBodies[0].append(row);
    }
    const left = Math.max(run.beacons.length - 200, 0) + report.beaconsLeftOut;
    byId('beacons-note').textContent =
        left > 0 ? `${counted(left, 'more beacon')} not listed.` : '';
  }

  // The head of the page

  function makeHead() {
    document.title = `${report.headline} \u2013 nimbrel report`;
    byId('headline').textContent = report.headline;
    byId('source').textContent =
        `\u00b7 ${source.kind === 'live' ? 'live' : source.files.join(', ')}`;
    byId('command').textContent = source.command;
    const facts = [
      ['Began', `${dateText(dateAt(0))} ${timeAt(0, 0)} ${source.zone}`],
      ['Length', durationText(run.seconds)],
      [
        'Mode', isGeneric ? 'generic, without a filter' : `${counted(run.filters.length, 'filter')}`
      ],
      ['Advertisements', grouped(run.advertisements)],
      ['Events', grouped(run.events)],
      ...(source.damagedPackets > 0 ?
              [['Wrong checksum', `${counted(source.damagedPackets, 'packet')} left out`]] :
              []),
    ];
    byId('facts').append(...facts.map(
        ([name, text]) => make('div', {}, make('dt', {}, name), make('dd', {}, text))));

    const others = new Set(run.why);
    for (const filter of run.filters) {
      const begin = `The filter ${filter.filter} detected nothing: `;
      const why = run.why.find((sentence) => sentence.startsWith(begin));
      others.delete(why);
      const [asked, label] = filter.filter.split(/=(.*)/s);
      const item = make(
          'li', {className: filter.events > 0 ? '' : 'silent'},
          make(
              'div', {className: 'label'}, make('span', {}, label === undefined ? asked : label),
              make(
                  'span', {className: 'verdict'},
                  filter.events > 0 ? `\u2713 ${counted(filter.events, 'event')}` :
                                      '\u2717 heard nothing')));
      if (label !== undefined) {
        item.append(make('code', {}, asked));
      }
      if (why !== undefined) {
        const reason = why.slice(begin.length);
        item.append(make('p', {}, reason.charAt(0).toUpperCase() + reason.slice(1)));
      }
      byId('filters').append(item);
    }
    byId('filters-section').hidden = run.filters.length === 0;
    byId('attention').append(...[...others].map((sentence) => make('li', {}, sentence)));
    byId('attention-section').hidden = others.size === 0;
  }

  // Start

  function makePlots() {
    byId('line-means').textContent = `mean over ${durationText(meanWidth).replace('.0', '')}`;
    const readings = series.reduce(
        (sum, each) => sum + each.readings.reduce((count, reading) => count + reading.count, 0), 0);
    const cells = series.reduce((sum, each) => sum + each.readings.length, 0);
    byId('plots-note').textContent = [
      'Drag to zoom, double-click for the whole run. Keys in a plot: left and right move the cursor, with Shift the time; + and \u2212 zoom, 0 shows the whole run.',
      cells < readings ? `${counted(readings, 'reading')} are summed up in steps of ${
                             stepText()}, each with the least, the mean and the most.` :
                         `Each of the ${counted(readings, 'reading')} is shown.`,
      ...(nearnessLanes.length > 12 ?
              [`Nearness is shown for the first 12 of ${
                  counted(
                      nearnessLanes.length,
                      'detected device')}, or for the one that is shown alone.`] :
              []),
      ...(source.jumps.length > 0 ?
              [
                'A dashed line is where the recording\u2019s clock jumped; the times of the axis go on from the begin.'
              ] :
              []),
    ].join(' ');
    if (series.length === 0) {
      for (const id of ['signal', 'distance']) {
        byId(id).append(
            make('p', {className: 'nothing'}, 'No beacon was heard, and no device was detected.'));
      }
    }
    const signal = new SignalPlot();
    plots.push(signal, new DistancePlot(), new LanesPlot(signal));
    for (const plot of plots) {
      plot.show();
      plot.root.addEventListener('keydown', (event) => pressed(event));
    }
  }

  function pressed(event) {
    const move = (fraction) => setCursor(cursorOrMiddle() + (state.to - state.from) * fraction);
    const actions = {
      ArrowLeft: () => event.shiftKey ? pan(-0.25) : move(-0.01),
      ArrowRight: () => event.shiftKey ? pan(0.25) : move(0.01),
      '+': () => zoom(0.5),
      '=': () => zoom(0.5),
      '-': () => zoom(2),
      0: () => setTimes(0, length),
      Escape: () => state.cursor !== null ? setCursor(null) : showAlone(null),
    };
    if (!event.ctrlKey && !event.metaKey && !event.altKey && actions[event.key] !== undefined) {
      event.preventDefault();
      actions[event.key]();
    }
  }

  function redraw() {
    readTheme();
    showAlone(state.alone);
    showTable();
  }

  readTheme();
  makeHead();
  makeLegend();
  makePlots();
  makeDeviceTable();
  makeBeaconTable();
  describe();
  showValues();
  byId('earlier').addEventListener('click', () => pan(-0.25));
  byId('later').addEventListener('click', () => pan(0.25));
  byId('closer').addEventListener('click', () => zoom(0.5));
  byId('wider').addEventListener('click', () => zoom(2));
  byId('whole').addEventListener('click', () => setTimes(0, length));
  matchMedia('(prefers-color-scheme: dark)').addEventListener('change', redraw);
  matchMedia('print').addEventListener('change', redraw);
  addEventListener(
      'resize', () => requestAnimationFrame(() => plots.forEach((plot) => plot.show())));
})();
