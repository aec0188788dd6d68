// The data of the page: the JSON document in the element "data", which `nimbrel report --json`
// writes alone:
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

export const report = JSON.parse(document.getElementById('data').textContent);
export const {run, source, devices, step} = report;
export const isGeneric = run.mode === 'generic';
export const duration = Math.max(run.seconds, step);

// Fates in the order in which a bar shows them, with what they mean.
export const fates = new Map([
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
