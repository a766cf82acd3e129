// One lane close up, with the parts that show a session: that of its series in hand.

let laneShown = null; // its name

function drawLane() {
  const name = inAddress('lane');
  const lane = lanes.get(name);
  document.body.dataset.shows = name === null ? 'board' : lane?.score ? 'session' : 'lane';
  byId('board').hidden = name !== null;
  byId('lane').hidden = name === null;
  if (name !== null) {
    drawLaneFigures(name, lane);
    if (lane?.score) drawSeriesInHand(lane);
  } else {
    fitTiles();
  }
  laneShown = name;
}

function drawLaneFigures(name, lane) {
  byId('back').href = addressWith({ lane: null, shot: null, series: null });
  byId('lane-name').replaceChildren(...laneLabel(`${name}/`.split('/', 2).join('/')), lane?.name ? ` ${lane.name}` : '');
  byId('lane-state').textContent = lane ? stateText(lane.state) : 'No such lane';
  byId('lane').dataset.state = lane?.state ?? '';
  byId('lane-reason').textContent = [lane?.since ? `since ${toldTime(lane.since)}` : '', lane?.reason].filter((word) => word).join(': ');
  const score = lane?.score;
  showFigures(byId('lane-figures'), score ? [
    ['Last', lastText(score) + (score.last?.inner ? ' ✕' : '')],
    [`Series ${wholeText(score.series?.number)}`, `${wholeText(score.series?.total)} · ${tenthsText(score.series?.tenths)}`],
    ['Total', `${wholeText(score.total)} · ${tenthsText(score.tenths)}`],
    ['Inner tens', wholeText(score.innerTens)],
    ['Shots', wholeText(score.shots)],
    ['Session', toldTime(score.since), 'When it began, by the clock of its machine'],
  ] : [['Shots', 'none yet']]);
}

function drawSeriesInHand({ lane, face, score }) {
  const isFollowing = lane !== laneShown || chosen.shot === shotCount() - 1;
  takeSession(score.document);
  byId('face-0').replaceChildren(...document.importNode(drawingOf(faces.get(face), 1), true).children);
  if (isFollowing && lane === laneShown) history.replaceState(null, '', addressOf({ shot: null }));
  draw({ hasGrown: true });
}
