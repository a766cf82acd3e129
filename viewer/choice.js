// What is chosen: a target, all shots or a series, and a shot. It is in the address, as people count: #shot=17&series=2.

const chosen = { target: 0, series: null, shot: null };

function addressOf(change) {
  const { target, series, shot } = { ...chosen, ...change };
  const named = new URLSearchParams(location.hash.slice(1)); // what else it names stays
  for (const [name, index] of Object.entries({ shot, series, target: session.targets.length > 1 ? target : null })) {
    named.delete(name);
    if (index !== null) named.set(name, index + 1);
  }
  return `#${decodeURIComponent(named)}`;
}

// What the address names and the session has. A shot brings its target, and leaves a series that it is not in.
function choiceInAddress() {
  const named = new URLSearchParams(location.hash.slice(1));
  const index = (name, count) => {
    const number = Number(named.get(name));
    return Number.isInteger(number) && number >= 1 && number <= count ? number - 1 : null;
  };
  const shot = index('shot', shotCount());
  const target = (shot === null ? null : shots.target[shot]) ?? index('target', session.targets.length) ?? session.first;
  showTarget(target);
  let series = index('series', seriesCount());
  if (series !== null && shot !== null && seriesOf(shot) !== series) series = null;
  const first = series === null ? shown.shots.at(-1) : shotsOfSeries(series)[0];
  return { target, series, shot: shot ?? first ?? null };
}

function choose(change) {
  history.replaceState(null, '', addressOf(change));
  draw();
}

// The shot before or after the chosen one, within what is shown.
function shotBeside(step) {
  const among = shotsInView();
  const at = among.indexOf(chosen.shot) + step;
  return among[Math.max(0, Math.min(among.length - 1, at))] ?? null;
}
