// The shots of the chosen series as rows; all shots for paper. More rows than a series are slow to lay out.

const columns = [
  ['Shot', (shot) => html('a', { href: addressOf({ shot }) }, shot + 1)],
  ['Value', worthText],
  ['Inner', (shot) => (shots.inner[shot] ? '✕' : '')],
  ['mm right', (shot) => decimal(scaled(shots.x[shot], 0.01), 1)],
  ['mm up', (shot) => decimal(scaled(shots.y[shot], 0.01), 1)],
  ['Aiming time', (shot) => secondsText(shots.aiming[shot])],
  ['Cant', (shot) => angleText(shots.tilt[shot])],
  ['Rotation', (shot) => angleText(shots.rotation[shot])],
  [() => (shown.target.rings.length ? `In ${shown.target.rings[0].value}` : 'In the highest'),
    (shot) => percentText(shots.inHighest[shot])],
  ['Hold', (shot) => percentText(shots.steady[shot])],
  ['Aiming', (shot) => lengthText(shots.aimOff[shot])],
  ['Trigger', (shot) => lengthText(shots.trigger[shot])],
  ['Trace', (shot) => lengthText(shots.length[shot])],
  ['Signal', (shot) => signalText(shots.flags[shot])],
];

let rowsOf = null; // which shots the table shows: a series, or 'all'

function drawTable(all = false) {
  const series = chosen.series ?? (chosen.shot === null ? 0 : seriesOf(chosen.shot));
  const wanted = all ? 'all' : series;
  if (wanted !== rowsOf) {
    rowsOf = wanted;
    const rows = all ? shown.shots : shotsOfSeries(series);
    byId('table-heading').textContent = all || seriesCount() < 2 ? 'Shots' : `Shots of series ${series + 1}`;
    byId('table-head').replaceChildren(html('tr', {},
      ...columns.map(([name]) => html('th', { scope: 'col' }, typeof name === 'function' ? name() : name))));
    byId('table').replaceChildren(...rows.map(row));
  }
  for (const line of byId('table').children) {
    if (Number(line.dataset.shot) === chosen.shot + 1) {
      line.setAttribute('aria-current', 'true');
    } else {
      line.removeAttribute('aria-current');
    }
  }
}

function row(shot) {
  return html('tr', { 'data-shot': shot + 1, class: isAtTarget(shot) ? null : 'foreign' },
    ...columns.map(([, cell]) => html('td', {}, cell(shot))));
}
