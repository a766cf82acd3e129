// The session: one document of columns, each a list with a whole number or null for every shot or sample. Lengths are
// hundredths of a millimetre, right and up positive; times milliseconds since the start; angles sines times 1000;
// shares thousandths. Shots go by their index here, from 0, and by their number, one more, wherever people read it.

const session = JSON.parse(byId('data').textContent);
const { shots, samples } = session;

// In the place of what was there.
function takeSession(whole) {
  for (const member of ['start', 'device', 'perSeries', 'first', 'targets']) session[member] = whole[member];
  for (const columns of ['shots', 'samples']) Object.assign(session[columns], whole[columns]);
}

const shotCount = () => shots.x.length;
const isKnown = (columns, index) => columns.x[index] !== null && columns.y[index] !== null;
const isAtTarget = (shot) => shots.target[shot] !== null;

// Millimetres as SVG has them: down is positive.
const place = (columns, index) => (isKnown(columns, index) ? [columns.x[index] / 100, -columns.y[index] / 100] : null);

// The shots at a target, and with each those at targets that the session does not know.
function shotsAt(target) {
  return shots.target.flatMap((at, shot) => (at === target || at === null ? [shot] : []));
}

// What a choice shows is made from these lists, which change with the target only.
const shown = { target: null, shots: [], position: new Map() };

function showTarget(target) {
  shown.target = session.targets[target];
  shown.shots = shotsAt(target);
  shown.position = new Map(shown.shots.map((shot, position) => [shot, position]));
}

const seriesCount = () => Math.ceil(shown.shots.length / session.perSeries);
const seriesOf = (shot) => Math.floor((shown.position.get(shot) ?? 0) / session.perSeries);
const shotsOfSeries = (series) =>
  shown.shots.slice(series * session.perSeries, (series + 1) * session.perSeries);

// The times of samples count from the shot, in milliseconds.
const sampleTime = (sample, shot) => samples.received[sample] - shots.received[shot];
const distanceOf = (columns, index) =>
  (isKnown(columns, index) ? Math.hypot(columns.x[index], columns.y[index]) / 100 : null);

// In a download nobody knows when a sample came.
const hasTimes = (shot) => shots.received[shot] !== null;

// A hit without a calibre is drawn as a dot that can be seen.
const hitRadiusAt = ({ calibre, paper }) => (calibre > 0 ? calibre / 200 : paper / 10000);
const hitRadius = () => hitRadiusAt(shown.target);

// What a shot is worth; on a silhouette the class of the pixel that it hit.
const pixelText = (shot) => `class ${shots.pixel[shot]}`;
const worthText = (shot) => (shots.pixel[shot] === null ? valueText(shots.tenths[shot]) : pixelText(shot));
