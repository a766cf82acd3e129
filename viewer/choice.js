// What is chosen: a target, all shots or a series, and a shot. It is in the address, as people count: #shot=17&series=2.

const chosen = { target: 0, series: null, shot: null };

// The address with these changes; null takes a name out, and what else it names stays.
function addressWith(changes) {
  const named = new URLSearchParams(location.hash.slice(1));
  for (const [name, value] of Object.entries(changes)) {
    named.delete(name);
    if (value !== null) named.set(name, value);
  }
  return `#${decodeURIComponent(named)}`;
}

function addressOf(change) {
  const { target, series, shot } = { ...chosen, ...change };
  const counted = (index) => (index === null ? null : index + 1);
  return addressWith({ shot: counted(shot), series: counted(series), target: session.targets.length > 1 ? target + 1 : null });
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
