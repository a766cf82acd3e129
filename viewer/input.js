// What is clicked, typed and dragged.

const step = (by) => choose({ shot: shotBeside(by) });

function listen() {
  addEventListener('hashchange', draw);
  addEventListener('resize', applyView);
  addEventListener('beforeprint', () => drawTable(true));
  addEventListener('afterprint', () => drawTable());
  addEventListener('keydown', takeKey);
  byId('previous').addEventListener('click', () => step(-1));
  byId('next').addEventListener('click', () => step(1));
  byId('target-choice').addEventListener('change', (event) =>
    choose({ target: Number(event.target.value), series: null, shot: shotsAt(Number(event.target.value)).at(-1) ?? null }));
  byId('table').addEventListener('click', (event) => {
    const row = event.target.closest('tr');
    if (!row) return;
    event.preventDefault(); // its link is there to be copied; it may be older than the choice of a series
    choose({ shot: Number(row.dataset.shot) - 1 });
  });
  byId('hits').addEventListener('click', chooseHit);
  byId('session-graph').addEventListener('click', (event) => {
    const shot = shotAtPoint(event);
    if (shot !== null) choose({ shot, series: chosen.series === null ? null : seriesOf(shot) });
  });
  for (const button of document.querySelectorAll('[data-view]')) {
    button.addEventListener('click', () => showView(button.dataset.view));
  }
  for (const button of document.querySelectorAll('[data-layer]')) {
    button.addEventListener('click', () => toggle(button.dataset.layer));
  }
  for (const button of document.querySelectorAll('[data-zoom]')) {
    button.addEventListener('click', () => zoom(Number(button.dataset.zoom), view));
  }
  listenToPointers();
}


// The hit under the pointer, or the nearest one that a finger may have meant.
function chooseHit(event) {
  if (dragged) return;
  const at = placeAt(event);
  let nearest = { shot: null, away: Math.max(hitRadius(), 12 * unitsPerPixel()) };
  for (const shot of shotsInView()) {
    const [x, y] = place(shots, shot) ?? [Infinity, Infinity];
    const away = Math.hypot(x - at.x, y - at.y);
    if (away <= nearest.away) nearest = { shot, away };
  }
  if (nearest.shot !== null) choose({ shot: nearest.shot });
}

function takeKey(event) {
  const isTyped = event.ctrlKey || event.altKey || event.metaKey || event.target.closest?.('select, input');
  const by = { ArrowLeft: -1, ArrowRight: 1 }[event.key];
  if (isTyped || !by) return;
  event.preventDefault();
  step(by);
}

// ---- Zoom and pan: the wheel, two fingers, or a drag

function placeAt(event) {
  const box = byId('target').getBoundingClientRect();
  return { x: view.x + (2 * (event.clientX - box.left) / box.width - 1) * view.half,
    y: view.y + (2 * (event.clientY - box.top) / box.height - 1) * view.half };
}

function zoom(factor, about) {
  const half = Math.max(hitRadius(), Math.min(view.half * factor, shown.target.paper / 25));
  const share = half / view.half;
  Object.assign(view, { kind: 'own', half, x: about.x + (view.x - about.x) * share, y: about.y + (view.y - about.y) * share });
  applyView();
}

function pan(dx, dy) {
  Object.assign(view, { kind: 'own', x: view.x - dx * unitsPerPixel(), y: view.y - dy * unitsPerPixel() });
  applyView();
}

const pointers = new Map();
let start = null; // where the last one went down
let dragged = false; // whether it has moved since

function movePointer(event) {
  const before = pointers.get(event.pointerId);
  if (!before) return;
  const others = [...pointers].filter(([id]) => id !== event.pointerId).map(([, at]) => at);
  pointers.set(event.pointerId, { clientX: event.clientX, clientY: event.clientY });
  dragged ||= Math.hypot(event.clientX - start.clientX, event.clientY - start.clientY) > 4;
  if (!dragged) return undefined;
  if (others.length === 0) return pan(event.clientX - before.clientX, event.clientY - before.clientY);
  const spread = (at) => Math.hypot(at.clientX - others[0].clientX, at.clientY - others[0].clientY) || 1;
  return zoom(spread(before) / spread(event), placeAt(others[0]));
}

function listenToPointers() {
  const target = byId('target');
  target.addEventListener('wheel', (event) => {
    event.preventDefault();
    zoom(event.deltaY > 0 ? 1.2 : 1 / 1.2, placeAt(event));
  }, { passive: false });
  target.addEventListener('pointerdown', (event) => {
    if (event.target.closest('button')) return;
    start = { clientX: event.clientX, clientY: event.clientY };
    dragged = false;
    pointers.set(event.pointerId, start);
  });
  addEventListener('pointermove', movePointer);
  for (const end of ['pointerup', 'pointercancel']) addEventListener(end, (event) => pointers.delete(event.pointerId));
}
