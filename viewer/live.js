// A session as it goes on: events add to the columns, and what they change is drawn anew.

const isLive = document.documentElement.hasAttribute('data-live');

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
  byId('state').dataset.state = state;
  byId('state').textContent = states[state];
}

function append(columns, added) {
  for (const [name, values] of Object.entries(added)) for (const value of values) columns[name].push(value);
}

// The page of another session is another page: its faces are.
function takeDocument(whole) {
  if (whole.start !== session.start) return location.reload();
  Object.assign(session, { targets: whole.targets, perSeries: whole.perSeries });
  for (const columns of ['shots', 'samples']) Object.assign(session[columns], whole[columns]);
  return drawNews(true);
}

function takeChanges(changes) {
  if (changes.start !== session.start) return location.reload();
  showState(changes.state);
  const isFollowing = chosen.shot === (shown.shots.at(-1) ?? null);
  if (changes.after !== null) shots.after[shotCount() - 1] = changes.after;
  append(samples, changes.samples);
  append(shots, changes.shots);
  session.perSeries = changes.perSeries;
  changes.targets.forEach(({ figures, firstSeries, series }, i) => {
    const target = session.targets[i];
    Object.assign(target, { figures, series: [...target.series.slice(0, firstSeries), ...series] });
  });
  // Whoever looks at the last shot looks at the next one, too.
  const isNew = changes.targets.length > 0;
  if (isNew && isFollowing) history.replaceState(null, '', addressOf({ shot: null }));
  return drawNews(isNew);
}

function drawNews(isNew) {
  if (isNew) {
    redraw();
  } else {
    drawAbout();
    if (chosen.shot === shotCount() - 1 && chosen.shot !== null) drawTraces();
  }
  drawAim();
}

// Where the weapon points, and has pointed in the second before.
const aimSamples = 1000; // milliseconds

function drawAim() {
  const points = [];
  const last = samples.received.length - 1;
  for (let i = last; i >= 0 && samples.received[last] - samples.received[i] <= aimSamples; --i) points.push(place(samples, i));
  const isShown = byId('state').dataset.state === 'training' && points[0];
  byId('aim').replaceChildren(...(isShown ? [
    svg('path', { class: 'aim-trace', d: pathThrough(points) }),
    svg('path', { class: 'aim-now', d: `M${points[0].join(' ')}h0` }),
  ] : []));
}

function follow() {
  const events = new EventSource('events');
  events.addEventListener('session', (event) => takeDocument(JSON.parse(event.data)));
  events.addEventListener('message', (event) => {
    const changes = JSON.parse(event.data);
    takeChanges(changes);
    if (isOver(changes.state)) events.close();
  });
  events.addEventListener('error', () => {
    showState('reconnecting');
    if (events.readyState === EventSource.CLOSED) setTimeout(follow, 2000); // refused, such as one viewer too many
  });
}

if (isLive) {
  showState('waiting');
  follow();
}
