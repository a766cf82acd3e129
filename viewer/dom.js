'use strict';
// Elements, made and filled. Whatever comes from a session goes in as text.

const byId = (id) => document.getElementById(id);

function give(element, attributes, children) {
  for (const [name, value] of Object.entries(attributes)) {
    if (value !== null && value !== undefined) element.setAttribute(name, value);
  }
  element.append(...children);
  return element;
}

const html = (name, attributes = {}, ...children) => give(document.createElement(name), attributes, children);

const svg = (name, attributes = {}, ...children) =>
  give(document.createElementNS('http://www.w3.org/2000/svg', name), attributes, children);

// A list of figures: [what, value] or [what, value, how it is meant].
function showFigures(list, figures) {
  list.replaceChildren(...figures.map(([what, value, meant]) =>
    html('div', { title: meant }, html('dt', {}, what), html('dd', {}, value))));
}

// A path through points [x, y]; null lifts the pen.
function pathThrough(points) {
  let path = '';
  let isDown = false;
  for (const point of points) {
    if (point) path += `${isDown ? 'L' : 'M'}${point[0]} ${point[1]}`;
    isDown = point !== null;
  }
  return path;
}
