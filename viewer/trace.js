// A shot's trace in its phases, which differ in width and dash as well as in colour.

const phases = [
  { name: 'before', words: 'aim, up to the last second' },
  { name: 'second', words: 'last second' },
  { name: 'moments', words: 'last 0.2 s' },
  { name: 'after', words: 'after the shot, 0.5 s' },
];
const untimed = { name: 'before', words: 'aim since the shot before (no times known)' };

// Where the line stops: the samples between came later than any that belong together.
const longestStep = 400;

// The phases of a shot as lists of samples. Each begins with the last sample of the one before, so that no piece of the
// way is missing; the last moments end in the shot, and what follows begins with it.
function phasesOf(shot) {
  const end = shots.end[shot];
  if (!hasTimes(shot)) {
    const begin = shot > 0 ? shots.end[shot - 1] : 0;
    return [{ ...untimed, from: begin, to: end, joins: false }];
  }
  const starts = [shots.from[shot], shots.second[shot], shots.moments[shot], end];
  const ends = [shots.second[shot], shots.moments[shot], end, shots.after[shot]];
  return phases.map((phase, i) => ({
    ...phase, from: starts[i], to: ends[i], joins: i > 0 && i < 3 && starts[i] > starts[0],
  }));
}

// The points of a phase, by a function of a sample; null where the line stops.
function pointsOf(phase, shot, pointOf, shotPoint) {
  const points = phase.name === 'after' ? [shotPoint] : [];
  let last = null;
  for (let sample = phase.from - (phase.joins ? 1 : 0); sample < phase.to; ++sample) {
    const isFar = last !== null && samples.received[sample] - samples.received[last] > longestStep;
    if (isFar) points.push(null);
    points.push(pointOf(sample));
    last = sample;
  }
  if (phase.name === 'moments') points.push(shotPoint);
  return points;
}

// One path for each phase.
function tracePaths(shot, pointOf, shotPoint) {
  return phasesOf(shot).map((phase) => svg('path', {
    class: `trace ${phase.name}`, d: pathThrough(pointsOf(phase, shot, pointOf, shotPoint)),
  }));
}

function traceOnFace(shot) {
  const marks = tracePaths(shot, (sample) => place(samples, sample), place(shots, shot));
  const aim = [shots.aimX[shot], shots.aimY[shot]];
  if (aim[0] !== null && isKnown(shots, shot)) {
    const [x, y] = [aim[0] / 100, -aim[1] / 100];
    marks.push(svg('path', { class: 'trigger', d: pathThrough([[x, y], place(shots, shot)]) }));
    marks.push(svg('path', { class: 'mean-aim', d: `M${x} ${y}h0` }));
  }
  return marks;
}

function drawLegend(shot) {
  const entry = (name, words) => html('li', {},
    svg('svg', { width: 34, height: 10, 'aria-hidden': 'true' },
      svg('path', { class: name, d: name === 'mean-aim' ? 'M17 5h0' : 'M1 5H33' })), words);
  const entries = shot === null ? [] : phasesOf(shot).filter(({ from, to }) => from < to).map((phase) => entry(`trace ${phase.name}`, phase.words));
  if (shot !== null && shots.aimX[shot] !== null) entries.push(entry('mean-aim', 'mean aim of the last second, and from it to the hit'));
  if (layers.figures) entries.push(entry('group-line', 'mean radius about the centre; extreme spread'));
  if (layers.aims) entries.push(entry('map', 'aim in the last second before all shots: the more often, the denser'));
  byId('legend').replaceChildren(...entries);
}
