// The figures side by side, and the goals.

/** How many times as many pictures a second as these peers: the fastest with its own PNG, and the
 * fastest with node's. */
const goals = { takumi: 6, "Skia's canvas, PNG by node": 3.5 };

function spreadOf(sample) {
  const sorted = [...sample].sort((one, other) => one - other);
  const at = share => {
    const place = share * (sorted.length - 1);
    const below = Math.floor(place);
    const above = Math.min(below + 1, sorted.length - 1);
    return sorted[below] + (place - below) * (sorted[above] - sorted[below]);
  };
  return { lower: at(0.25), median: at(0.5), upper: at(0.75) };
}

const columns = [
  ['pictures/s', 10],
  ['lower', 8],
  ['median', 8],
  ['upper', 8],
  ['of cores', 8],
  ['cold ms', 8],
  ['MiB', 6],
  ['KiB each', 8],
  ['off ours', 8],
];

const figure = (number, digits) => (number === undefined ? '' : number.toFixed(digits));

function line(name, cells) {
  return name.padEnd(28) + cells.map((cell, i) => cell.padStart(columns[i][1])).join(' ');
}

function lineOf(row) {
  const { lower, median, upper } = spreadOf(row.milliseconds);
  return line(row.name, [
    figure(1000 / median, 1),
    figure(lower, 2),
    figure(median, 2),
    figure(upper, 2),
    figure(spreadOf(row.coreMilliseconds).median, 2),
    figure(spreadOf(row.cold).median, 0),
    figure(row.peak, 0),
    figure(row.kibibytes, 0),
    row.fidelity ? `${(100 * row.fidelity.mean).toFixed(2)} %` : '',
  ]);
}

function verdict(ours, peer, goal) {
  const median = row => spreadOf(row.milliseconds).median;
  const times = median(peer) / median(ours);
  const reached = times >= goal ? 'ok' : 'MISSED';
  const pace = `${times.toFixed(1)} times the pictures a second of ${peer.name}`;
  return `The whole sheet: ${pace}; goal ${goal}, ${reached}`;
}

export function printTable({ rows, ours, scenes, drawn, rounds, cores }) {
  console.log(
    `Scenes of the sheet, milliseconds a picture: medians of ${rounds} rounds, interleaved, on ` +
      `${cores} ${cores === 1 ? 'core' : 'cores'}; peers draw ${drawn} of ${scenes}`,
  );
  const titles = columns.map(([title]) => title);
  console.log(line('', titles));
  rows.forEach(row => console.log(lineOf(row)));
  console.log(
    'of cores: processor time of a picture. cold: a process that draws one picture. MiB: peak memory,\n' +
      'ours with the extension. off ours: mean difference of the pixels. The sheet is the whole command,\n' +
      'writing to memory. Peers draw finished display lists and write no files, each in one warm process,\n' +
      'as many at a time as there are cores, with their own threads. PNG by node: no filter, level 1.',
  );
  if (!ours) {
    console.log('This glancery has no command sheet to compare with.');
    return;
  }
  for (const peer of rows.filter(row => row.name in goals)) {
    console.log(verdict(ours, peer, goals[peer.name]));
  }
}
