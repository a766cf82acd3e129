// Hits that are too many to be told apart: dots on a canvas, since thousands of circles are slow to draw.

const mostCircles = 500;

function drawDots() {
  const canvas = byId('dots');
  const known = shotsInView().filter((shot) => isKnown(shots, shot));
  canvas.hidden = known.length <= mostCircles;
  if (canvas.hidden) return;
  const size = Math.round(canvas.clientWidth * devicePixelRatio);
  canvas.width = canvas.height = size;
  const scale = size / (2 * view.half);
  const radius = Math.max(1, hitRadius() * scale);
  const [hit, foreign] = [dotOf('hit', radius), dotOf('hit foreign', radius)];
  const context = canvas.getContext('2d');
  for (const shot of known) {
    const [x, y] = place(shots, shot);
    const middle = hit.width / 2;
    context.drawImage(isAtTarget(shot) ? hit : foreign,
      (x - view.x) * scale + size / 2 - middle, (y - view.y) * scale + size / 2 - middle);
  }
}

// One dot as hits of this class look, to be drawn many times.
function dotOf(kind, radius) {
  const circle = svg('circle', { class: kind });
  byId('chosen').append(circle);
  const { fill, stroke } = getComputedStyle(circle);
  const canvas = html('canvas');
  const line = radius / 8;
  canvas.width = canvas.height = 2 * Math.ceil(radius + line);
  const context = canvas.getContext('2d');
  Object.assign(context, { fillStyle: fill === 'none' ? 'transparent' : fill, strokeStyle: stroke, lineWidth: line });
  context.arc(canvas.width / 2, canvas.width / 2, radius, 0, 2 * Math.PI);
  context.fill();
  context.stroke();
  circle.remove();
  return canvas;
}
