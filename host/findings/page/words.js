// Elements of the page, and how it writes numbers, times and devices.
import {report, run, source, step} from './report.js';

export const byId = (id) => document.getElementById(id);

/** An element with properties, and with texts and elements in it. */
export function make(tag, properties = {}, ...content) {
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

export const grouped = (number) => number.toLocaleString('en-US');
export const counted = (number, noun) => `${grouped(number)} ${noun}${number === 1 ? '' : 's'}`;
const padded = (number, digits = 2) => String(number).padStart(digits, '0');
export const dBm = (strength) =>
    `${String(Math.round(strength * 10) / 10).replace('-', '\u2212')} dBm`;

/** The "min", "mean" or "max" of a device's signal strengths, or a dash for none. */
export const strengthText = (device, key) =>
    device.rssi === null ? '\u2013' : dBm(device.rssi[key]);

export function metres(distance) {
  return `${distance < 10 ? distance.toPrecision(2) : Math.round(distance)} m`;
}

/** A reading of the report's clock, as a Date whose UTC fields are those of the report's zone. */
export const clock = (milliseconds) => new Date(milliseconds + source.offset * 1000);
export const dateText = (date) =>
    `${date.getUTCFullYear()}-${padded(date.getUTCMonth() + 1)}-${padded(date.getUTCDate())}`;
export const timeText =
    (date, digits = 3) => [date.getUTCHours(), date.getUTCMinutes(), date.getUTCSeconds()]
                              .map((part) => padded(part))
                              .join(':') +
    (digits > 0 ? `.${padded(date.getUTCMilliseconds(), 3).slice(0, digits)}` : '');
export const dateAt = (second) => clock(source.begin + second * 1000);
export const secondAt = (date) => (date - dateAt(0)) / 1000;
/** A clock's reading in milliseconds, without its day. */
export const clockText = (milliseconds) => timeText(clock(milliseconds), 1);
export const timeAt = (second, digits = 1) => timeText(dateAt(second), digits);

export function durationText(seconds) {
  const whole = Math.floor(seconds);
  if (whole < 120) {
    return `${seconds.toFixed(1)} s`;
  }
  const hours = Math.floor(whole / 3600);
  return `${hours > 0 ? `${hours} h ` : ''}${Math.floor(whole / 60) % 60} min ${whole % 60} s`;
}

export function stepText() {
  return step < 1 ? `${Math.round(step * 1000)} ms` : durationText(step).replace(/\.0 s$/, ' s');
}

export function proximity(distance) {
  const [near, far] = report.bounds;
  return distance < near ? 'immediate' : distance < far ? 'near' : 'far';
}

export const beaconKey = (beacon) => `${beacon.uuid}/${beacon.majorId}/${beacon.minorId}`;
const acceptedBeacons = new Map(run.beacons.map((beacon) => [beaconKey(beacon), beacon]));

/** The label that a filter gives to a device's beacon, or an empty text. */
function labelOf(device) {
  const beacon = device.frame === 'iBeacon' ? acceptedBeacons.get(beaconKey(device)) : undefined;
  const label = beacon === undefined || beacon.identifier === null ? '' : beacon.identifier;
  return label !== '' && run.filters.some((filter) => filter.filter.endsWith(`=${label}`)) ? label :
                                                                                             '';
}

function beaconText(device) {
  return device.frame === null ?
      '' :
      `${device.frame} ${device.uuid.slice(0, 8)}\u2026 ${device.majorId}/${device.minorId}`;
}

export function titleOf(device) {
  const label = labelOf(device);
  const numbers = label === '' ? '' : ` ${device.majorId}/${device.minorId}`;
  return (label + numbers) || device.name || beaconText(device) || device.device;
}

export function subtitleOf(device) {
  const title = titleOf(device);
  const parts = [device.name, beaconText(device), `${device.device} ${device.addressType}`];
  return parts.filter((part) => part && part !== title).join(' \u00b7 ');
}

/** What marks a device that was missed. */
export const badgeOf = (index) =>
    index < report.missed ? [make('span', {className: 'badge'}, 'missed')] : [];

/** Names and values, as the items of a list of facts. */
export const factItems = (facts) =>
    facts.map(([name, text]) => make('div', {}, make('dt', {}, name), make('dd', {}, text)));

export function swatch(colour) {
  const made = make('span', {className: 'swatch'});
  made.style.background = colour;
  return made;
}
