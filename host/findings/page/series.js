// The series of the report, and what plots and texts draw from them.
import {devices, duration, report, step} from './report.js';
import {dateAt, titleOf} from './words.js';

/** What a plot needs of one series: arrays of cells with their middle in seconds. */
function readSeries(each, place) {
  const device = devices[each.device];
  const middle = (cell) => Math.min((cell + 0.5) * step, duration);
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

export const series = report.series.map(readSeries);
export const seriesOf = new Map(series.map((each) => [each.index, each]));
export const colours = 8;
// A silence that breaks a line, and the width of the mean that a line shows, in seconds.
const silence = Math.max(10, 3 * step);
export const meanWidth = Math.max(2, duration / 80, 2 * step);

/** The mean over a moving window at each reading, and a break (NaN) in each silence. */
export function smooth(readings) {
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

export function distances(detections) {
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
    const bin = Math.min(Math.floor(at / duration * bins), bins - 1);
    best[bin] = best[bin] === null ? mean : Math.max(best[bin], mean);
  }
  return (at) => best[Math.min(Math.floor(at / duration * bins), bins - 1)];
}

/**
 * The table of numbers that dygraphs takes, from the points of each series. The last column is
 * for the range selector.
 */
export function tableOf(all) {
  const rows = new Map([[0, null], [duration, null]]);
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

/** The element of `sorted` that is nearest to a second, if it is within `reach` of it. */
export function nearestTo(sorted, second, reach) {
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

export function strongest(each) {
  return each.readings.reduce(
      (best, reading) => best === null || reading.most > best.most ? reading : best, null);
}

/** The detections of a series that have a distance. */
export const placed = (each) => each.detections.filter(({distance}) => distance !== null);
