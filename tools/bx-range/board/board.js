// All lanes as the events tell them, in the chosen order; and one of them close up.

const lanes = new Map(); // by name, such as "a/7"
const faces = new Map(); // shapes by id
const tiles = new Map(); // by name

const inAddress = (name) => new URLSearchParams(location.hash.slice(1)).get(name);

function drawingOf(shapes, half) {
  const box = `viewBox="${-half} ${-half} ${2 * half} ${2 * half}" width="300" height="300"`;
  const text = `<svg xmlns="http://www.w3.org/2000/svg" ${box}>${shapes ?? ''}</svg>`;
  return new DOMParser().parseFromString(text, 'image/svg+xml').documentElement;
}

// ---- Order

const byLane = new Intl.Collator('en', { numeric: true }).compare;
const orders = {
  lane: () => 0,
  total: (a, b) => (b.score?.total ?? -1) - (a.score?.total ?? -1),
  tenths: (a, b) => (b.score?.tenths ?? -1) - (a.score?.tenths ?? -1),
};
const orderInAddress = () => (Object.hasOwn(orders, inAddress('order') ?? '') ? inAddress('order') : 'lane');

function sortTiles() {
  const order = orders[orderInAddress()];
  const sorted = [...lanes.values()].sort((a, b) => order(a, b) || byLane(a.lane, b.lane));
  const elements = sorted.map(({ lane }) => tiles.get(lane).element);
  const grid = byId('lanes');
  if (elements.some((element, i) => element !== grid.children[i])) grid.replaceChildren(...elements);
  for (const button of document.querySelectorAll('[data-order]')) {
    button.setAttribute('aria-pressed', button.dataset.order === orderInAddress());
  }
}

// ---- What comes

function showTrouble(text) {
  byId('trouble').hidden = !text;
  byId('trouble').textContent = text;
}

function takeAll(all) {
  for (const known of [lanes, faces, tiles, pictures]) known.clear();
  byId('lanes').replaceChildren();
  takeNews(all);
  drawLane();
}

function takeNews({ broker, lanes: changed, faces: added }) {
  for (const { id, shapes } of added) faces.set(id, shapes);
  const before = lanes.size;
  for (const lane of changed) {
    lanes.set(lane.lane, lane);
    if (!tiles.has(lane.lane)) tiles.set(lane.lane, makeTile(lane.lane));
    fillTile(tiles.get(lane.lane), lane);
  }
  sortTiles();
  showCounts();
  showTrouble(broker ? '' : 'No connection to the broker: what is shown may be old');
  if (lanes.size !== before) fitTiles();
  if (changed.some(({ lane }) => lane === inAddress('lane'))) drawLane();
}

function showCounts() {
  const among = (state) => [...lanes.values()].filter((lane) => lane.state === state).length;
  byId('counts').replaceChildren(html('span', {}, counted(lanes.size, 'lane')), ...Object.keys(stateWords).filter(among).map((state) =>
    html('span', { 'data-state': state }, html('i', { class: 'state' }), `${among(state)} ${stateText(state).toLowerCase()}`)));
}

function showAddress() {
  for (const [name, { link }] of tiles) link.href = addressWith({ lane: name });
  sortTiles();
  drawLane();
}

byId('range').textContent = document.title;
for (const button of document.querySelectorAll('[data-order]')) {
  button.addEventListener('click', () => { location.hash = addressWith({ order: button.dataset.order }); });
}
addEventListener('hashchange', showAddress);
addEventListener('resize', fitTiles);
drawLayers();
draw();
listen();
drawLane();
follow({ board: takeAll, message: takeNews }, () => showTrouble('The board does not answer: what is shown may be old'));
