// The map of where the weapon pointed in the last second before all shots shown: the more often, the denser.

const cellSize = 4; // pixels

function drawAims() {
  const canvas = byId('aims');
  canvas.hidden = !layers.aims;
  if (!layers.aims) return;
  const cells = Math.max(1, Math.round(canvas.clientWidth / cellSize));
  canvas.width = canvas.height = cells;
  const counts = smoothed(smoothed(countAims(cells), cells), cells);
  const most = counts.reduce((a, b) => Math.max(a, b), 0);
  if (most === 0) return;
  const image = canvas.getContext('2d').createImageData(cells, cells);
  counts.forEach((count, cell) => {
    const share = Math.sqrt(count / most);
    image.data.set([240 - 20 * share, 140 - 100 * share, 30, 235 * share], 4 * cell);
  });
  canvas.getContext('2d').putImageData(image, 0, 0);
}

function countAims(cells) {
  const counts = new Float32Array(cells * cells);
  const scale = cells / (2 * view.half);
  for (const shot of shotsInView()) {
    if (!hasTimes(shot)) continue;
    for (let sample = shots.second[shot]; sample < shots.end[shot]; ++sample) {
      if (!isKnown(samples, sample)) continue;
      const column = Math.floor((samples.x[sample] / 100 - view.x + view.half) * scale);
      const row = Math.floor((-samples.y[sample] / 100 - view.y + view.half) * scale);
      if (column >= 0 && column < cells && row >= 0 && row < cells) ++counts[row * cells + column];
    }
  }
  return counts;
}

// Each cell with its neighbours, along the rows and then along the columns.
function smoothed(counts, cells) {
  for (const [step, across] of [[1, cells], [cells, 1]]) {
    const before = counts.slice();
    for (let line = 0; line < cells; ++line) {
      for (let i = 1; i + 1 < cells; ++i) {
        const cell = line * across + i * step;
        counts[cell] = (before[cell - step] + 2 * before[cell] + before[cell + step]) / 4;
      }
    }
  }
  return counts;
}
