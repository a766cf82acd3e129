// Draws what the address says, and what was changed only: a session that has grown is all drawn anew.

let drawn = null;

function draw({ hasGrown = false } = {}) {
  const wanted = choiceInAddress();
  const isNew = (key) => hasGrown || drawn === null || drawn[key] !== wanted[key];
  const [target, series] = [isNew('target'), isNew('target') || isNew('series')];
  Object.assign(chosen, wanted);
  if (target) {
    rowsOf = null;
    drawSession();
    drawSeries();
    drawSessionGraph();
    drawFace();
  }
  if (series) {
    drawHits();
    drawGroupMarks();
    drawGroup();
    markSeries();
  }
  drawTrace();
  drawTable();
  drawShot();
  drawShotGraphs(chosen.shot);
  drawChosenValue();
  if (hasGrown) {
    showView(view.kind);
  } else if (series || view.kind === 'shot') {
    showView(target ? 'group' : view.kind);
  }
  if (drawn !== null) sayShot();
  drawn = wanted;
}

function drawLayers() {
  for (const button of document.querySelectorAll('[data-layer]')) {
    button.setAttribute('aria-pressed', layers[button.dataset.layer]);
  }
}

function toggle(layer) {
  layers[layer] = !layers[layer];
  drawLayers();
  drawLegend(chosen.shot);
  (layer === 'aims' ? drawAims : drawGroupMarks)();
}

function offerTargets() {
  byId('targets').hidden = session.targets.length < 2;
  byId('target-choice').replaceChildren(...session.targets.map((target, i) =>
    html('option', { value: i }, target.name || `Target ${i + 1}`)));
}
