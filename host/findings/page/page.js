// Puts the page together: its head, its parts, and what the buttons and keys do.
import {describe} from './alternatives.js';
import {LanesPlot, nearnessLanes} from './lanes.js';
import {makeLegend} from './legend.js';
import {DistancePlot, SignalPlot} from './plots.js';
import {duration, isGeneric, report, run, source} from './report.js';
import {meanWidth, series} from './series.js';
import {makeBeaconTable, makeDeviceTable} from './tables.js';
import {cursorOrMiddle, pan, parts, readTheme, setCursor, setTimes, showAlone, state, zoom} from './view.js';
import {byId, counted, dateAt, dateText, durationText, factItems, grouped, make, stepText, timeAt} from './words.js';

function makeHead() {
  document.title = `${report.headline} \u2013 nimbrel report`;
  byId('headline').textContent = report.headline;
  byId('source').textContent =
      `\u00b7 ${source.kind === 'live' ? 'live' : source.files.join(', ')}`;
  byId('command').textContent = source.command;
  const facts = [
    ['Began', `${dateText(dateAt(0))} ${timeAt(0, 0)} ${source.zone}`],
    ['Length', durationText(run.seconds)],
    ['Mode', isGeneric ? 'generic, without a filter' : `${counted(run.filters.length, 'filter')}`],
    ['Advertisements', grouped(run.advertisements)],
    ['Events', grouped(run.events)],
    ...(source.damagedPackets > 0 ?
            [['Wrong checksum', `${counted(source.damagedPackets, 'packet')} left out`]] :
            []),
  ];
  byId('facts').append(...factItems(facts));

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
  for (const plot of [signal, new DistancePlot(), new LanesPlot(signal.graph)]) {
    parts.push(plot);
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
    0: () => setTimes(0, duration),
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
}

readTheme();
makeHead();
makeLegend();
makePlots();
makeDeviceTable();
makeBeaconTable();
parts.push({show: describe});
showAlone(null);
setCursor(null);
byId('earlier').addEventListener('click', () => pan(-0.25));
byId('later').addEventListener('click', () => pan(0.25));
byId('closer').addEventListener('click', () => zoom(0.5));
byId('wider').addEventListener('click', () => zoom(2));
byId('whole').addEventListener('click', () => setTimes(0, duration));
matchMedia('(prefers-color-scheme: dark)').addEventListener('change', redraw);
matchMedia('print').addEventListener('change', redraw);
addEventListener('resize', () => requestAnimationFrame(redraw));
