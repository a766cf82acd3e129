// A shot's distance from the centre and cant over time, and the session's values and aiming times.

const graphWidth = 720;
const plotArea = { left: 46, right: graphWidth - 34 };
const earliest = -3000; // milliseconds from the shot
const latest = 500;

const text = (x, y, anchor, words, kind = 'axis') => svg('text', { x, y, 'text-anchor': anchor, class: kind }, words);
const lineAcross = (y, kind) => svg('path', { class: kind, d: `M${plotArea.left} ${y}H${plotArea.right}` });

const linear = (from, to, low, high) => (value) => low + (value - from) / (to - from) * (high - low);
const timeScale = linear(earliest, latest, plotArea.left, plotArea.right);

function graph(height, label, ...children) {
  return svg('svg', { viewBox: `0 0 ${graphWidth} ${height}`, role: 'img', 'aria-label': label }, ...children);
}

function timeAxis(top, bottom) {
  const marks = [];
  for (let time = earliest; time <= latest; time += 500) {
    const x = timeScale(time);
    marks.push(svg('path', { class: time === 0 ? 'shot-line' : 'grid', d: `M${x} ${top}V${bottom}` }));
    marks.push(text(x, bottom + 15, 'middle', time === 0 ? 'shot' : `${decimal(time / 1000, 1)}\u00a0s`));
  }
  return marks;
}

// The phases of a shot through a scale of time and another one, cut to the plot.
function traceCurves(shot, name, top, bottom, yOf, yOfShot) {
  const point = (time, y) => (y === null ? null : [+timeScale(time).toFixed(1), +y.toFixed(1)]);
  const clip = svg('clipPath', { id: `clip-${name}` }, svg('rect', {
    x: plotArea.left, y: top, width: plotArea.right - plotArea.left, height: bottom - top,
  }));
  const curves = tracePaths(shot, (sample) => point(sampleTime(sample, shot), yOf(sample)), point(0, yOfShot));
  return [clip, svg('g', { 'clip-path': `url(#clip-${name})` }, ...curves)];
}

// The ring bands up to the lowest that the hit or the last second reached, four at least.
function distanceBands(shot) {
  let far = distanceOf(shots, shot) ?? 0;
  for (let i = shots.second[shot]; i < shots.end[shot]; ++i) far = Math.max(far, distanceOf(samples, i) ?? 0);
  const { rings } = shown.target;
  if (!rings.length) return { bands: [], most: Math.max(far * 1.2, 1) };
  const reached = rings.findIndex((ring) => ring.reach / 100 >= far);
  const count = Math.max(reached < 0 ? rings.length : reached + 1, Math.min(4, rings.length));
  return { bands: rings.slice(0, count), most: rings[count - 1].reach / 100 };
}

function distanceGraph(shot) {
  const [top, bottom] = [10, 186];
  const { bands, most } = distanceBands(shot);
  const y = linear(0, most, bottom, top);
  const across = (sample) => scaledBy(y, distanceOf(samples, sample));
  const marks = [];
  bands.forEach((ring, i) => {
    const [from, to] = [i > 0 ? bands[i - 1].reach / 100 : 0, ring.reach / 100];
    marks.push(svg('rect', { class: `band ${i % 2 ? 'odd' : 'even'}`, x: plotArea.left, y: y(to),
      width: plotArea.right - plotArea.left, height: y(from) - y(to) }));
    marks.push(text(plotArea.right + 8, (y(from) + y(to)) / 2 + 4, 'start', ring.value));
  });
  return graph(210, `Shot ${shot + 1}: distance from the centre over time`, ...marks, ...timeAxis(top, bottom),
    text(plotArea.left - 6, top + 10, 'end', decimal(most, 0)), text(plotArea.left - 6, bottom, 'end', '0'),
    text(plotArea.left - 6, (top + bottom) / 2, 'end', 'mm'),
    ...traceCurves(shot, 'distance', top, bottom, across, scaledBy(y, distanceOf(shots, shot))));
}

const scaledBy = (scale, value) => (value === null ? null : scale(value));

function cantGraph(shot) {
  const [top, bottom] = [8, 78];
  const cants = [shots.tilt[shot] ?? 0];
  for (let i = shots.from[shot]; i < shots.after[shot]; ++i) cants.push(samples.tilt[i] ?? 0);
  const most = Math.max(2, ...cants.map((sine) => Math.ceil(Math.abs(degreesOf(sine)))));
  const y = linear(-most, most, bottom, top);
  return graph(102, `Shot ${shot + 1}: cant over time`, lineAcross(y(0), 'grid strong'), ...timeAxis(top, bottom),
    text(plotArea.left - 6, top + 8, 'end', `${most}°`), text(plotArea.left - 6, bottom, 'end', `−${most}°`),
    text(plotArea.left - 6, (top + bottom) / 2 + 4, 'end', 'cant'),
    ...traceCurves(shot, 'cant', top, bottom, (sample) => scaledBy(y, degreesOf(samples.tilt[sample])),
      scaledBy(y, degreesOf(shots.tilt[shot]))));
}

function drawShotGraphs(shot) {
  const place = byId('shot-graphs');
  if (shot === null) return place.replaceChildren();
  if (!hasTimes(shot) || shots.from[shot] === shots.after[shot]) {
    const why = hasTimes(shot) ? 'no measurements came with this shot.' : 'this session does not tell when its records came.';
    return place.replaceChildren(html('p', { class: 'quiet' }, `Nothing is shown over time: ${why}`));
  }
  return place.replaceChildren(distanceGraph(shot), cantGraph(shot));
}

// ---- The session

const values = { top: 12, bottom: 104 };
const times = { top: 112, bottom: 162 };
// Where the session's graph ends, above the numbers of the shots.
const sessionBottom = () => (shown.shots.some((shot) => shots.aiming[shot] > 0) ? times.bottom : values.bottom + 4);
const xOfShot = (position) =>
  plotArea.left + (position + 0.5) / shown.shots.length * (plotArea.right - plotArea.left);

function valueScale() {
  const known = shown.shots.map((shot) => shots.tenths[shot]).filter((tenths) => tenths !== null);
  const highest = shown.target.rings[0].value + 1;
  const least = known.reduce((a, b) => Math.min(a, b), (highest - 3) * 10);
  const lowest = Math.max(0, Math.floor(least / 10));
  return { lowest, highest, y: linear(lowest * 10, highest * 10, values.bottom, values.top) };
}

function valueMarks({ lowest, highest, y }) {
  const step = Math.ceil((highest - lowest) / 6);
  const marks = [];
  for (let value = highest; value >= lowest; value -= step) {
    marks.push(lineAcross(y(value * 10), 'grid'), text(plotArea.left - 6, y(value * 10) + 4, 'end', value));
  }
  const dots = shown.shots.map((shot, position) =>
    (shots.tenths[shot] === null ? '' : `M${xOfShot(position).toFixed(1)} ${y(shots.tenths[shot]).toFixed(1)}h0`));
  return [...marks, svg('path', { id: 'value-dots', class: shown.shots.length > 400 ? 'dots fine' : 'dots', d: dots.join('') })];
}

function timeMarks() {
  const most = shown.shots.reduce((a, shot) => Math.max(a, shots.aiming[shot] ?? 0), 0);
  if (most === 0) return [];
  const y = linear(0, most, times.bottom, times.top);
  const bars = shown.shots.map((shot, position) =>
    (shots.aiming[shot] === null ? '' : `M${xOfShot(position).toFixed(1)} ${times.bottom}V${y(shots.aiming[shot]).toFixed(1)}`));
  const width = Math.max(0.4, Math.min(14, 0.6 * (plotArea.right - plotArea.left) / shown.shots.length));
  return [svg('path', { class: 'bars', d: bars.join(''), 'stroke-width': width }), lineAcross(times.bottom, 'grid strong'),
    text(plotArea.left - 6, times.top + 9, 'end', secondsText(most)), text(plotArea.left - 6, times.bottom, 'end', '0')];
}

function drawSessionGraph() {
  const series = [];
  const every = Math.ceil(seriesCount() / 12);
  for (let i = 0; i < seriesCount(); i += every) {
    const x = xOfShot(i * session.perSeries - 0.5);
    series.push(svg('path', { class: 'grid', d: `M${x} ${values.top}V${sessionBottom()}` }));
    series.push(text(x + 3, sessionBottom() + 15, 'start', shotsOfSeries(i)[0] + 1));
  }
  const scored = shown.target.rings.length ? valueMarks(valueScale()) : [];
  const timed = timeMarks();
  const words = [scored.length ? 'value of each shot' : '', timed.length ? 'time to aim it' : ''].filter((word) => word);
  byId('session-card').hidden = words.length === 0;
  byId('session-heading').textContent = words.join(', and the ');
  byId('session-graph').replaceChildren(graph(sessionBottom() + 20, words.join(', '), ...series, ...scored, ...timed,
    svg('g', { id: 'chosen-value' })));
}

function drawChosenValue() {
  const position = shown.position.get(chosen.shot);
  const tenths = chosen.shot === null ? null : shots.tenths[chosen.shot];
  if (position === undefined) return byId('chosen-value').replaceChildren();
  const x = xOfShot(position);
  const marks = [svg('path', { class: 'shot-line', d: `M${x} ${values.top}V${sessionBottom()}` })];
  if (tenths !== null) marks.push(svg('circle', { class: 'chosen', cx: x, cy: valueScale().y(tenths), r: 6 }));
  return byId('chosen-value').replaceChildren(...marks);
}

// The shot at a place of the session's graph.
function shotAtPoint(event) {
  const box = byId('session-graph').firstChild.getBoundingClientRect();
  const share = ((event.clientX - box.left) / box.width * graphWidth - plotArea.left) / (plotArea.right - plotArea.left);
  return shown.shots[Math.floor(share * shown.shots.length)] ?? null;
}
