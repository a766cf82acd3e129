// A session as it goes on: events add to the columns, and what they change is drawn anew.

const states = {
  waiting: 'Waiting for the device',
  training: 'Live',
  lost: 'Device lost: trying to come back',
  ended: 'Training is over',
  'broken off': 'Device lost: training is over',
  reconnecting: 'Reconnecting to the program that trains',
};
const isOver = (state) => state === 'ended' || state === 'broken off';

function showState(state) {
  byId('state').hidden = false;
  byId('state').dataset.state = state;
  byId('state').textContent = states[state];
}

function append(columns, added) {
  for (const [name, values] of Object.entries(added)) for (const value of values) columns[name].push(value);
}

// The page of another session is another page: its faces are.
function takeDocument(whole) {
  if (whole.start !== session.start) return location.reload();
  takeSession(whole);
  return drawNews(true);
}

function takeChanges(changes) {
  if (changes.start !== session.start) return location.reload();
  showState(changes.state);
  const isFollowing = chosen.shot === (shown.shots.at(-1) ?? null);
  const last = shotCount() - 1;
  const isLonger = last >= 0 && changes.after !== shots.after[last];
  if (isLonger) shots.after[last] = changes.after;
  append(samples, changes.samples);
  append(shots, changes.shots);
  session.perSeries = changes.perSeries;
  changes.targets.forEach(({ figures, firstSeries, series }, i) => {
    const target = session.targets[i];
    Object.assign(target, { figures, series: [...target.series.slice(0, firstSeries), ...series] });
  });
  const hasShots = changes.targets.length > 0;
  if (hasShots && isFollowing) chooseNewest();
  return drawNews(hasShots, isLonger && chosen.shot === last);
}

// Whoever looks at the last shot looks at the next one, too.
function chooseNewest() {
  showTarget(chosen.target);
  const shot = shown.shots.at(-1) ?? null;
  const isAmongAll = chosen.series === null;
  history.replaceState(null, '', addressOf(isAmongAll ? { shot: null } : { shot, series: seriesOf(shot) }));
}

function drawNews(hasShots, hasMoreAfter = false) {
  if (hasShots) {
    draw({ hasGrown: true });
  } else {
    drawAbout();
    if (hasMoreAfter) drawFollowThrough();
  }
  drawAim();
}

function drawFollowThrough() {
  drawTrace();
  drawShotGraphs(chosen.shot);
}

// Where the weapon points, and the way that it took there.
const aimTail = 300; // milliseconds

function drawAim() {
  const points = [];
  const last = samples.received.length - 1;
  for (let i = last; i >= 0 && samples.received[last] - samples.received[i] <= aimTail; --i) points.push(place(samples, i));
  const isShown = byId('state').dataset.state === 'training' && points[0];
  byId('aim').replaceChildren(...(isShown ? [
    svg('path', { class: 'aim-trace', d: pathThrough(points) }),
    svg('path', { class: 'aim-now', d: `M${points[0].join(' ')}h0` }),
  ] : []));
}

function followSession() {
  showState('waiting');
  follow({
    session: takeDocument,
    message: (changes, events) => {
      takeChanges(changes);
      if (isOver(changes.state)) events.close();
    },
  }, () => showState('reconnecting'));
}
