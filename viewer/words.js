// Numbers and directions as people read them. What is missing is a dash.

const nothing = '–';

function decimal(value, digits) {
  if (value === null || !Number.isFinite(value)) return nothing;
  const text = Math.abs(value).toFixed(digits);
  return value < 0 && Number(text) !== 0 ? `−${text}` : text;
}

const withUnit = (text, unit) => (text === nothing ? nothing : `${text}\u00a0${unit}`);
const scaled = (value, factor) => (value === null ? null : value * factor);

// Of hundredths of a millimetre, of milliseconds, of thousandths.
const lengthText = (hundredths) => withUnit(decimal(scaled(hundredths, 0.01), 1), 'mm');
const secondsText = (milliseconds) => withUnit(decimal(scaled(milliseconds, 0.001), 2), 's');
const percentText = (thousandths) => withUnit(decimal(scaled(thousandths, 0.1), 0), '%');

// Of a sine times 1000.
function degreesOf(sine) {
  if (sine === null) return null;
  return Math.asin(Math.max(-1, Math.min(1, sine / 1000))) * 180 / Math.PI;
}
const angleText = (sine) => (sine === null ? nothing : `${decimal(degreesOf(sine), 1)}°`);

function counted(count, one, many = `${one}s`) {
  return `${count.toLocaleString('en')} ${count === 1 ? one : many}`;
}

// Of a value in tenths; a hit below the lowest ring is a miss.
const valueText = (tenths) => (tenths === null ? nothing : tenths === 0 ? '0' : decimal(tenths / 10, 1));

const clockText = (hour) => (hour ? `${hour}\u00a0o’clock` : 'the very centre');

function offsetText(x, y) {
  const across = `${lengthText(Math.abs(x))} ${x < 0 ? 'left' : 'right'}`;
  return `${across}, ${lengthText(Math.abs(y))} ${y < 0 ? 'low' : 'high'}`;
}

const signals = [[1, 'low signal'], [2, 'high signal'], [16, 'measure error'], [32, 'angle error'], [64, 'FSI error']];

function signalText(flags) {
  const told = signals.filter(([bit]) => flags & bit).map(([, words]) => words);
  return told.length ? told.join(', ') : 'good';
}
