// The lanes side by side: as many columns as make the tiles largest, so that all are on the screen where they can be
// read there.

const stateWords = { training: 'Training', ready: 'Ready', free: 'No device', lost: 'Lost' };
const stateText = (state) => stateWords[state] ?? (state || nothing);

// A time as it was told: clocks of machines differ, so that none is compared with another.
const toldTime = (text) => text.replace('T', ' ').replace(/(:\d\d)(:\d\d(\.\d+)?)?Z$/, '$1\u00a0UTC');

const lastText = ({ last }) => (last === null ? nothing : last.tenths === null ? String(last.value ?? nothing) : valueText(last.tenths));
const wholeText = (number) => String(number ?? nothing);
const tenthsText = (tenths) => (tenths === null || tenths === undefined ? nothing : decimal(tenths / 10, 1));
const sinceText = ({ since, score }) => {
  if (score?.since) return `${counted(score.shots ?? 0, 'shot')} since ${toldTime(score.since)}`;
  return since ? `since ${toldTime(since)}` : '';
};

function laneLabel(name) {
  const [machine, lane] = name.split('/');
  return [html('small', {}, `${machine}/`), lane];
}

// ---- The small face

// As one picture, without the numbers of the rings: it is shown many times, and small.
const pictures = new Map();

function pictureOf(face, half) {
  if (!pictures.has(face)) {
    const drawing = drawingOf(faces.get(face), half);
    for (const number of drawing.querySelectorAll('.number')) number.remove();
    pictures.set(face, `data:image/svg+xml,${encodeURIComponent(new XMLSerializer().serializeToString(drawing))}`);
  }
  return pictures.get(face);
}

// The rings up to the lowest that was hit, three at least.
function halfShown({ rings, paper }, away) {
  const reach = rings.slice(Math.min(2, rings.length)).find((ring) => ring.reach >= away)?.reach;
  return Math.min(paper, 1.06 * (reach ?? paper)) / 100;
}

function drawHitsOf(svgOfTile, { document, last }) {
  const [target] = document.targets;
  const { x, y } = document.shots;
  const known = x.flatMap((value, i) => (value === null || y[i] === null ? [] : [i]));
  const half = halfShown(target, known.reduce((most, i) => Math.max(most, Math.hypot(x[i], y[i])), 0));
  const radius = Math.max(hitRadiusAt(target), half / 18); // to be seen from afar
  const inside = (hundredths) => Math.max(-half, Math.min(half, hundredths / 100)); // on the edge what is beyond it
  const isLast = (i) => last !== null && i === x.length - 1;
  svgOfTile.setAttribute('viewBox', [-half, -half, 2 * half, 2 * half].map((n) => +n.toFixed(2)).join(' '));
  svgOfTile.lastChild.setAttribute('stroke-width', +(radius / 5).toFixed(3));
  svgOfTile.lastChild.replaceChildren(...known.map((i) =>
    svg('circle', { class: isLast(i) ? 'hit last' : 'hit', cx: inside(x[i]), cy: inside(-y[i]), r: radius })));
}

// ---- A tile

function makeTile(name) {
  const part = (kind, tag = 'span') => html(tag, { class: kind });
  const picture = svg('svg', { class: 'small', 'aria-hidden': 'true' }, svg('image'), svg('g'));
  const parts = {
    picture, state: part('state'), shooter: part('shooter'), value: part('value', 'strong'), inner: part('inner'),
    series: part('series'), total: part('total', 'strong'), tenths: part('tenths'), since: part('since'),
  };
  const link = html('a', {},
    html('span', { class: 'who' }, html('b', {}, ...laneLabel(name)), parts.shooter, parts.state), picture,
    html('span', { class: 'last' }, parts.value, parts.inner), parts.series,
    html('span', { class: 'sum' }, parts.total, ' ', parts.tenths), parts.since);
  return { element: html('li', { 'data-lane': name }, link), link, parts };
}

function fillTile({ element, link, parts }, lane) {
  const { score } = lane;
  const series = score?.series;
  const words = {
    state: stateText(lane.state), shooter: lane.name, value: score ? lastText(score) : '', inner: score?.last?.inner ? '✕' : '',
    series: series ? `Series ${wholeText(series.number)}: ${wholeText(series.total)}` : '',
    total: score ? wholeText(score.total) : '', tenths: score ? tenthsText(score.tenths) : '', since: sinceText(lane),
  };
  for (const [part, text] of Object.entries(words)) parts[part].textContent = text;
  element.dataset.state = lane.state;
  link.title = [words.since, lane.reason].filter((word) => word).join('; ');
  link.href = addressWith({ lane: lane.lane });
  link.setAttribute('aria-label', `Lane ${lane.lane} ${lane.name}: ${words.state}, last ${words.value || nothing}, total ${words.total || nothing}`);
  parts.picture.toggleAttribute('hidden', !score);
  if (score) fillPicture(parts.picture, lane);
}

function fillPicture(picture, { face, score }) {
  const half = score.document.targets[0].paper / 100;
  const box = { x: -half, y: -half, width: 2 * half, height: 2 * half };
  if (picture.dataset.face !== String(face)) give(picture.firstChild, { href: pictureOf(face, half), ...box }, []);
  picture.dataset.face = face;
  drawHitsOf(picture, score);
}

// ---- The grid

const tileShape = 1.65; // width to height of what is in a tile
const leastHeight = () => (innerWidth < 700 ? 100 : 68); // pixels; smaller ones are scrolled instead

function fitTiles() {
  const grid = byId('lanes');
  const own = new Set([...lanes.keys()].map((name) => name.split('/')[1]));
  grid.classList.toggle('plain', own.size === lanes.size); // without their machines they are told apart as well
  const count = Math.max(1, lanes.size);
  const width = grid.clientWidth;
  const height = innerHeight - grid.getBoundingClientRect().top - scrollY - 10;
  let best = { columns: 1, size: 0 };
  for (let columns = 1; columns <= count; ++columns) {
    const size = Math.min(width / columns / tileShape, height / Math.ceil(count / columns));
    if (size > best.size) best = { columns, size, rows: Math.ceil(count / columns) };
  }
  const fits = best.size >= leastHeight();
  if (!fits) best.columns = Math.max(1, Math.floor(width / (leastHeight() * tileShape)));
  const size = fits ? best.size : width / best.columns / tileShape;
  grid.classList.toggle('dense', size < 105);
  grid.style.setProperty('--columns', best.columns);
  grid.style.setProperty('--size', `${(size / 10).toFixed(2)}px`);
  grid.style.setProperty('--height', fits ? `${Math.min(height / best.rows, 1.35 * size).toFixed(1)}px` : `${size}px`);
}
