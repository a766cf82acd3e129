// The target: the face, what is shown on it, and which part of it. One unit of the drawing is a millimetre.

const layers = { figures: true, aims: false };
const view = { kind: 'group', x: 0, y: 0, half: 1 };

const unitsPerPixel = () => 2 * view.half / (byId('target').clientWidth || 500);

// The square about these points with a margin, about the centre of the face when it has none.
function squareAbout(points, margin, least) {
  const known = points.filter((point) => point !== null);
  if (!known.length) return { x: 0, y: 0, half: least };
  const xs = known.map(([x]) => x);
  const ys = known.map(([, y]) => y);
  const [left, right] = [xs.reduce((a, b) => Math.min(a, b)), xs.reduce((a, b) => Math.max(a, b))];
  const [top, bottom] = [ys.reduce((a, b) => Math.min(a, b)), ys.reduce((a, b) => Math.max(a, b))];
  const half = Math.max(right - left, bottom - top) / 2 + margin;
  return { x: (left + right) / 2, y: (top + bottom) / 2, half: Math.max(half, least) };
}

function squareOf(kind) {
  const paper = shown.target.paper / 100;
  const radius = hitRadius();
  if (kind === 'shot' && chosen.shot !== null) {
    const end = shots.end[chosen.shot];
    const last = [];
    for (let i = shots.second[chosen.shot] ?? end; i < end; ++i) last.push(place(samples, i));
    return squareAbout([...last, place(shots, chosen.shot)], 3 * radius, 8 * radius);
  }
  if (kind === 'group') {
    // The middle stays in the picture: a group is looked at where it lies.
    return squareAbout([...shotsInView().map((shot) => place(shots, shot)), [0, 0]], 4 * radius, paper / 5);
  }
  return { x: 0, y: 0, half: paper };
}

function showView(kind) {
  if (kind !== 'own') Object.assign(view, squareOf(kind), { kind });
  applyView();
}

function applyView() {
  const box = [view.x - view.half, view.y - view.half, 2 * view.half, 2 * view.half].map((n) => +n.toFixed(3)).join(' ');
  for (const layer of ['face', 'hits', 'marks']) byId(layer).setAttribute('viewBox', box);
  for (const button of document.querySelectorAll('[data-view]')) {
    button.setAttribute('aria-pressed', button.dataset.view === view.kind);
  }
  drawNumbers();
  drawDots();
  drawAims();
  drawScale();
}

// A bar of a round length.
function drawScale() {
  const wide = 110 * unitsPerPixel();
  const power = 10 ** Math.floor(Math.log10(wide));
  const size = [5, 2, 1].map((n) => n * power).find((n) => n <= wide);
  byId('scale').textContent = `${+size.toPrecision(1)} mm`;
  byId('scale').style.width = `${50 * size / view.half}%`; // on paper as well
  const isOutside = (shot) => {
    const at = place(shots, shot);
    return at && Math.max(Math.abs(at[0] - view.x), Math.abs(at[1] - view.y)) > view.half;
  };
  const count = shotsInView().filter(isOutside).length;
  byId('outside').textContent = count ? `${counted(count, 'hit')} outside the picture` : '';
}

const shotsInView = () => (chosen.series === null ? shown.shots : shotsOfSeries(chosen.series));

function figuresInView() {
  return chosen.series === null ? shown.target.figures : shown.target.series[chosen.series];
}

function hitMark(shot, kind) {
  const [x, y] = place(shots, shot);
  return svg('circle', { class: kind, cx: x, cy: y, r: hitRadius(), 'data-shot': shot + 1 });
}

// The face as one picture, since it is shown many times.
function drawSmallFace(half) {
  const box = { x: -half, y: -half, width: 2 * half, height: 2 * half };
  const face = svg('svg', { viewBox: Object.values(box).join(' '), width: 200, height: 200 },
    byId(`face-${chosen.target}`).cloneNode(true));
  const picture = `data:image/svg+xml,${encodeURIComponent(new XMLSerializer().serializeToString(face))}`;
  byId('small-faces').replaceChildren(svg('image', { id: 'small-face', href: picture, ...box }));
}

function drawFace() {
  byId('face').replaceChildren(svg('use', { href: `#face-${chosen.target}` }));
}

function drawHits() {
  const known = shotsInView().filter((shot) => isKnown(shots, shot));
  const marks = known.length > mostCircles ? []
    : known.map((shot) => hitMark(shot, isAtTarget(shot) ? 'hit' : 'hit foreign'));
  byId('hits').replaceChildren(svg('g', { 'stroke-width': hitRadius() / 8 }, ...marks),
    svg('g', { id: 'numbers', 'aria-hidden': 'true' }));
  byId('hits').setAttribute('aria-label', `${shown.target.name || 'Target'} with ${counted(known.length, 'hit')}`);
}

function drawGroupMarks() {
  byId('group-marks').replaceChildren(...(layers.figures ? groupMarks(figuresInView()) : []));
}

function groupMarks(figures) {
  if (figures.centreX === null) return [];
  const [x, y] = [figures.centreX / 100, -figures.centreY / 100];
  const [ax, ay, bx, by] = figures.extremes.map((n) => n / 100);
  return [
    svg('circle', { class: 'group-line', cx: x, cy: y, r: figures.meanRadius / 100 }),
    svg('path', { class: 'spread', d: pathThrough([[ax, -ay], [bx, -by]]) }),
    svg('path', { class: 'centre', d: `M${x} ${y}m-${hitRadius()} 0h${2 * hitRadius()}M${x} ${y}m0-${hitRadius()}v${2 * hitRadius()}` }),
  ];
}

// Numbers stand in the hits where these are large enough, and few enough, to read them.
const mostNumbers = 300;

function drawNumbers() {
  const radius = hitRadius();
  const isLarge = 2 * radius / unitsPerPixel() >= 11;
  const isNear = ([x, y]) => Math.abs(x - view.x) < view.half && Math.abs(y - view.y) < view.half;
  const numbers = isLarge ? shotsInView().filter((shot) => isKnown(shots, shot) && isNear(place(shots, shot))) : [];
  byId('numbers')?.replaceChildren(...(numbers.length > mostNumbers ? [] : numbers).map((shot) => numberAt(shot, 2.9 * radius / (Math.max(2, String(shot + 1).length) + 0.6))));
  drawChosenHit();
}

function numberAt(shot, size, rise = 0) {
  const [x, y] = place(shots, shot);
  return svg('text', { x, y: y + 0.36 * size - rise, 'font-size': size, 'stroke-width': 0.2 * size }, shot + 1);
}

function drawChosenHit() {
  const shot = chosen.shot;
  if (!byId('chosen')) return;
  const isDrawn = shot !== null && isKnown(shots, shot);
  const size = 15 * unitsPerPixel();
  byId('chosen').replaceChildren(...(isDrawn
    ? [hitMark(shot, 'chosen'), numberAt(shot, size, hitRadius() + 0.8 * size)] : []));
}

function drawTrace() {
  byId('trace').replaceChildren(...(chosen.shot === null ? [] : traceOnFace(chosen.shot)));
  drawChosenHit();
  drawLegend(chosen.shot);
}
