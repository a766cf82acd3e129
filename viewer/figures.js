// What stands in words and numbers: the session, the group, the series and the chosen shot.

function drawSession() {
  const { figures, rings, name } = shown.target;
  byId('name').textContent = name || 'Target without a name';
  drawAbout();
  const { scored } = figures;
  byId('totals').replaceChildren(...(rings.length
    ? [html('strong', {}, figures.total), ` / ${scored * rings[0].value}`, ` · ${decimal(figures.tenths / 10, 1)}`,
      ` · ${counted(figures.innerTens, 'inner ten')}`]
    : ['not scored: the target has no rings']));
  byId('notes').replaceChildren(...notes().map((note) => html('p', {}, note)));
}

// How it is counted, and what the reader should know.
function notes() {
  const sentences = [shown.target.rule];
  const foreign = shown.shots.filter((shot) => !isAtTarget(shot)).length;
  if (foreign) sentences.push(`Of a target that the session does not know, and not scored: ${counted(foreign, 'shot')}.`);
  const highest = shown.target.rings[0]?.value;
  if (shown.shots.some((shot) => shots.aimX[shot] !== null)) {
    sentences.push('Aiming is how far the mean aim of the last second was from the centre, trigger how far from the hit.');
    if (highest) sentences.push(`Hold is the share of that second within the size of a ${highest} about the mean aim.`);
  }
  if (shown.shots.some((shot) => !hasTimes(shot))) {
    sentences.push('This session does not tell when its records came: what is counted in seconds is left out.');
  }
  return sentences;
}

function drawGroup() {
  const figures = figuresInView();
  const which = chosen.series === null ? 'Group' : `Group of series ${chosen.series + 1}`;
  byId('group-heading').textContent = `${which}: ${counted(figures.hits, 'hit')}`;
  showFigures(byId('group'), figures.centreX === null ? [] : [
    ['Centre', offsetText(figures.centreX, figures.centreY), 'The mean of the hits'],
    ['Extreme spread', lengthText(figures.extremeSpread), 'Between the two hits that lie furthest apart'],
    ['Mean radius', lengthText(figures.meanRadius), 'The mean distance from the centre of the group'],
    ['Deviation across', lengthText(figures.deviationX), 'Standard deviation, over n − 1'],
    ['Deviation up', lengthText(figures.deviationY), 'Standard deviation, over n − 1'],
  ]);
}

function drawAbout() {
  const about = [counted(shown.shots.length, 'shot'), counted(samples.x.length, 'measurement'),
    session.start.replace('T', ' ').replace('Z', ' UTC'), session.device];
  byId('about').textContent = about.filter((word) => word).join(' · ');
}

// ---- Series

function seriesCard(series) {
  const figures = shown.target.series[series];
  const dots = shotsOfSeries(series).filter((shot) => isKnown(shots, shot))
    .map((shot) => `M${place(shots, shot).join(' ')}h0`).join('');
  const half = shown.seriesHalf;
  const face = svg('svg', { viewBox: `${-half} ${-half} ${2 * half} ${2 * half}`, 'aria-hidden': 'true' },
    svg('use', { href: '#small-face' }),
    svg('path', { class: 'dots-on-face', d: dots, 'stroke-width': 2 * hitRadius() }));
  const isScored = shown.target.rings.length > 0;
  const words = [isScored ? `${decimal(figures.tenths / 10, 1)} · ${figures.innerTens}\u00a0✕` : counted(figures.hits, 'hit'),
    `spread ${withUnit(decimal(scaled(figures.extremeSpread, 0.01), 0), 'mm')}`];
  return html('a', { href: addressOf({ series, shot: shotsOfSeries(series)[0] }), 'data-series': series },
    html('span', { class: 'of' }, `Series ${series + 1}`), face, html('strong', {}, isScored ? figures.total : ''),
    ...words.map((word) => html('span', {}, word)));
}

function drawSeries() {
  shown.seriesHalf = Math.min(squareOf('whole').half, Math.max(shown.target.paper / 400, squareOf('group').half));
  drawSmallFace(shown.seriesHalf);
  byId('series-card').hidden = seriesCount() < 2;
  const all = html('a', { href: addressOf({ series: null }), class: 'all' }, 'All shots');
  const cards = Array.from({ length: seriesCount() }, (_, series) => seriesCard(series));
  byId('series').replaceChildren(all, ...cards);
}

function markSeries() {
  for (const card of byId('series').querySelectorAll('[aria-current]')) card.removeAttribute('aria-current');
  const card = chosen.series === null ? '.all' : `[data-series="${chosen.series}"]`;
  byId('series').querySelector(card)?.setAttribute('aria-current', 'true');
}

// ---- The chosen shot

function worthOf(shot) {
  if (shots.tenths[shot] !== null) return html('strong', {}, valueText(shots.tenths[shot]));
  if (shots.pixel[shot] !== null) return html('strong', { class: 'pixel' }, pixelText(shot));
  return html('span', { class: 'quiet' }, isAtTarget(shot) ? 'not scored' : 'another target: not scored');
}

// A clock face with a hand towards the hit.
function clock(shot) {
  if (!shots.clock[shot]) return '';
  const angle = Math.atan2(shots.x[shot], shots.y[shot]);
  return svg('svg', { class: 'clock', viewBox: '-12 -12 24 24', 'aria-hidden': 'true' }, svg('circle', { r: 10.5 }),
    svg('path', { d: `M0 0L${(9 * Math.sin(angle)).toFixed(2)} ${(-9 * Math.cos(angle)).toFixed(2)}` }));
}

function drawShot() {
  const shot = chosen.shot;
  const isLast = (step) => shot === null || shotBeside(step) === shot;
  byId('previous').disabled = isLast(-1);
  byId('next').disabled = isLast(1);
  byId('shot-heading').textContent = shot === null ? 'No shot yet' : `Shot ${shot + 1} of ${shotCount()}`;
  byId('second-heading').hidden = shot === null || shots.aimX[shot] === null;
  if (shot === null) {
    for (const id of ['worth', 'shot-figures', 'second-figures']) byId(id).replaceChildren();
    return;
  }
  byId('worth').replaceChildren(worthOf(shot), shots.inner[shot] ? html('span', { class: 'inner' }, 'inner ten') : '', clock(shot));
  showFigures(byId('shot-figures'), [
    ['Direction', shots.clock[shot] === null ? nothing : clockText(shots.clock[shot])],
    ['From the centre', lengthText(scaled(distanceOf(shots, shot), 100))],
    ['Aiming time', secondsText(shots.aiming[shot]), 'Since the last faulty sample or the shot before'],
    ['Cant', angleText(shots.tilt[shot])],
    ['Rotation', angleText(shots.rotation[shot])],
    ['Signal', signalText(shots.flags[shot])],
  ]);
  drawSecond(shot);
}

function drawSecond(shot) {
  if (shots.aimX[shot] === null) return byId('second-figures').replaceChildren();
  const [highest, next] = shown.target.rings;
  const shares = [];
  if (highest) shares.push([`In the ${highest.value}`, percentText(shots.inHighest[shot])]);
  if (next) shares.push([`In the ${next.value}`, percentText(shots.inNext[shot])]);
  return showFigures(byId('second-figures'), [...shares,
    ...(highest ? [['Hold', percentText(shots.steady[shot]), `Within the size of a ${highest.value} about the mean aim`]] : []),
    ['Aiming', lengthText(shots.aimOff[shot]), 'From the centre of the target to the mean aim'],
    ['Trigger', lengthText(shots.trigger[shot]), 'From the mean aim to the hit'],
    ['Trace length', lengthText(shots.length[shot])],
  ]);
}

function sayShot() {
  const shot = chosen.shot;
  if (shot === null) return;
  const worth = shots.tenths[shot] === null ? 'not scored' : valueText(shots.tenths[shot]);
  const where = isKnown(shots, shot)
    ? `, ${lengthText(scaled(distanceOf(shots, shot), 100))} from the centre, ${clockText(shots.clock[shot])}` : '';
  byId('said').textContent = `Shot ${shot + 1}: ${worth}${where}`;
}
