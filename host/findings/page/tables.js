// The tables of devices and of beacons.
import {devices, fates, isGeneric, report, run} from './report.js';
import {seriesOf} from './series.js';
import {colourOf, parts, showAlone, state} from './view.js';
import {badgeOf, beaconKey, byId, clock, clockText, counted, dateText, dBm, factItems, grouped, make, strengthText, subtitleOf, swatch, timeText, titleOf} from './words.js';

const rowOf = new Map();

function fatesText(device) {
  return Object.entries(device.fates)
      .map(([fate, count]) => `${fate} ${grouped(count)}`)
      .join(', ');
}

function fateBox(fate) {
  const box = make('i');
  box.style.background = `var(--fate-${fate})`;
  return box;
}

function fatesBar(device) {
  const bar = make('div', {className: 'fates', title: fatesText(device)});
  for (const fate of fates.keys()) {
    if (device.fates[fate] > 0) {
      const box = fateBox(fate);
      box.style.flex = `${device.fates[fate]} 0 0`;
      bar.append(box);
    }
  }
  return make('div', {}, bar, make('span', {className: 'unseen'}, fatesText(device)));
}

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
  ...[['Weakest', 'min'], ['Mean', 'mean'], ['Strongest', 'max']].map(
      ([title, key]) => ({
        title,
        value: (device) => device.rssi === null ? undefined : device.rssi[key],
        text: (device) => strengthText(device, key)
      })),
  {
    title: 'First',
    value: (device) => device.first,
    text: (device) => clockText(device.first),
    ascends: true
  },
  {title: 'Last', value: (device) => device.last, text: (device) => clockText(device.last)},
];

const table = {
  sorted: null,
  descends: false,
  most: 100,
  open: new Set()
};
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
  const content = [make('dl', {className: 'facts'}, ...factItems(facts))];
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
        'tr', {className: 'details'}, make('td', {colSpan: columns.length}, ...detailsOf(device))));
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
  const name = make('span', {}, titleOf(device), ...badgeOf(index));
  const opener = make(
      'button', {type: 'button', className: 'opener', 'aria-expanded': 'false'},
      swatch(own === undefined ? '' : colourOf(own)), name, make('small', {}, subtitleOf(device)));
  const row = make('tr', {className: 'device'}, make('td', {className: 'wide'}, opener));
  for (const {title, cell, text} of columns.slice(1)) {
    row.append(
        cell !== undefined ? make('td', {className: 'wide'}, cell(device)) :
                             make('td', {className: 'number', 'data-label': title}, text(device)));
  }
  opener.addEventListener('click', () => toggle(device, index, row, opener));
  return row;
}

function showRows() {
  for (const [index, row] of rowOf) {
    const own = seriesOf.get(index);
    row.classList.toggle('alone', own !== undefined && own === state.alone);
    if (own !== undefined) {
      row.querySelector('.swatch').style.background = colourOf(own);
    }
  }
}

function showTable() {
  const found = sortedDevices();
  const shown = found.slice(0, table.most);
  rowOf.clear();
  table.open.clear();
  byId('devices').tBodies[0].replaceChildren(...shown.map((entry) => {
    const row = rowFor(entry);
    rowOf.set(entry.index, row);
    return row;
  }));
  showRows();
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

export function makeDeviceTable() {
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
    return make('li', {}, fateBox(fate), make('b', {}, fate), ` ${meaning}`);
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
  parts.push({show: showRows});
}

export function makeBeaconTable() {
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
      row.append(make('td', {className: 'number', 'data-label': head[index + 1]}, grouped(number)));
    });
    byId('beacons').tBodies[0].append(row);
  }
  const left = Math.max(run.beacons.length - 200, 0) + report.beaconsLeftOut;
  byId('beacons-note').textContent = left > 0 ? `${counted(left, 'more beacon')} not listed.` : '';
}
