'use strict';
const data = JSON.parse(document.getElementById('data').textContent);
const count = data.time.length;
const FLASHES_TO_GREY = 4;  // of the last ten frames
const STAGES = [
  ['wait', 'waiting for the segmentation'], ['roi', 'subject check'],
  ['filter', 'region filter'], ['flow', 'flash and motion check'],
  ['render', 'rendering'], ['rest', 'the rest'],
];
const SUBJECTS = ['no subject', 'too small a subject', 'subject found'];

// What the plots show beside the library's own numbers.
data.rest = data.total.map((total, i) => Math.max(0,
    total - STAGES.slice(0, 5).reduce((sum, [key]) => sum + data[key][i], 0)));
data.flashes = data.flash.map((_, i) =>
    data.flash.slice(Math.max(0, i - 9), i + 1).reduce((sum, flag) => sum + flag, 0));
// After a frame without a subject the library has not compared the frames.
data.compared = data.motion.map((_, i) => i > 0 && data.checked[i] === 1 &&
    data.subject[i - 1] === 2);

const $ = id => document.getElementById(id);
const element = (name, attributes = {}, text) => {
  const made = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const key in attributes) made.setAttribute(key, attributes[key]);
  if (text !== undefined) made.textContent = text;
  return made;
};
const clock = seconds => {
  const rounded = Math.round(Math.max(seconds, 0) * 100) / 100;
  const rest = (rounded % 60).toFixed(2).padStart(5, '0');
  return `${Math.floor(rounded / 60)}:${rest}`;
};
const grouped = number => Math.round(number).toLocaleString('en');
const share = flags => `${(100 * flags / Math.max(count, 1)).toFixed(1)} %`;
const how_many = (list, test) => list.reduce((sum, value) => sum + (test(value) ? 1 : 0), 0);
const quantile = (list, q) => {
  const sorted = [...list].sort((a, b) => a - b);
  return sorted.length ? sorted[Math.min(sorted.length - 1, Math.floor(q * sorted.length))] : 0;
};

// ---- Layout of the plot: strips of flags, then curves -------------------------------------------

const LEFT = 128;
const RIGHT = 16;
const STRIPS = [
  {name: 'Shown', height: 18, colour: i => data.coloured[i] ? '--colour' : '--grey'},
  {name: 'Subject', height: 18,
   colour: i => [null, '--small', '--subject'][data.subject[i]]},
  {name: 'Flash', height: 18, colour: i => data.flash[i] ? '--flash' : null, rare: true},
  {name: 'Motion', height: 18, rare: true,
   colour: i => data.motion[i] ? '--motion' : data.compared[i] || i === 0 ? null : '--skip'},
];
const CURVES = [
  {name: 'Flashes', unit: 'of the last 10', height: 64, values: data.flashes, ink: '--flash',
   limit: FLASHES_TO_GREY, top: () => 10, ticks: [0, FLASHES_TO_GREY, 10], step: true},
  {name: 'Motion sum', unit: '|dx| + |dy|', height: 112, values: data.motionSum, ink: '--motion',
   limit: data.motionThreshold},
  {name: 'Subject area', unit: '% of the frame', height: 88, values: data.area, ink: '--area'},
];
const STACK = {name: 'Times', unit: 'ms a frame', height: 150};

let first = 0;      // shown frames, both included
let last = Math.max(count - 1, 0);
let chosen = null;  // the frame under the pointer
let dragged = null;

const plot = $('plot');
const width = () => Math.max(plot.clientWidth, 480);
const pitch = () => (width() - LEFT - RIGHT) / Math.max(last - first + 1, 1);
const leftOf = frame => LEFT + (frame - first) * pitch();
const middleOf = frame => leftOf(frame + 0.5);
const frameAt = x => Math.min(last, Math.max(first, first + Math.floor((x - LEFT) / pitch())));

// A round number at or above `value`.
const roundUp = value => {
  const power = 10 ** Math.floor(Math.log10(Math.max(value, 1e-9)));
  return power * [1, 1.5, 2, 3, 4, 5, 6, 8, 10].find(step => step * power >= value * 0.9999);
};
const tickText = value => value >= 10000 ? `${+(value / 1000).toFixed(1)}k` : `${+value.toFixed(3)}`;

// Frames in groups that are at least half a pixel wide.
const groups = () => {
  const size = Math.max(1, Math.ceil(0.5 / pitch()));
  const list = [];
  for (let i = first; i <= last; i += size) list.push([i, Math.min(i + size - 1, last)]);
  return list;
};

function drawStrip(strip, top) {
  plot.append(element('text', {x: 8, y: top + 13, class: 'name'}, strip.name));
  plot.append(element('rect', {x: LEFT, y: top, width: width() - LEFT - RIGHT,
    height: strip.height, fill: 'none', stroke: 'var(--line)'}));
  let open = null;
  const close = end => {
    if (open === null || open.ink === null) return;
    const x = leftOf(open.from);
    // A flag of one frame stays visible among thousands.
    const least = strip.rare && open.ink !== '--skip' ? 1.5 : 0;
    plot.append(element('rect', {x, y: top, width: Math.max(leftOf(end) - x, least),
      height: strip.height, fill: `var(${open.ink})`}));
  };
  for (const [from, to] of groups()) {
    let ink = strip.colour(from);
    for (let i = from + 1; i <= to && strip.rare; ++i) {
      const other = strip.colour(i);
      if (other !== null && other !== '--skip') ink = other;
    }
    if (open !== null && open.ink === ink) continue;
    close(from);
    open = {from, ink};
  }
  close(last + 1);
}

function drawAxis(panel, top, most, ticks) {
  plot.append(element('text', {x: 8, y: top + 13, class: 'name'}, panel.name));
  plot.append(element('text', {x: 8, y: top + 29}, panel.unit));
  const y = value => top + panel.height * (1 - Math.min(value, most) / most);
  for (const tick of ticks) {
    plot.append(element('line', {x1: LEFT, x2: width() - RIGHT, y1: y(tick), y2: y(tick),
      stroke: 'var(--line)'}));
    plot.append(element('text', {x: LEFT - 6, y: y(tick) + 4, 'text-anchor': 'end'},
      tickText(tick)));
  }
  return y;
}

function drawCurve(curve, top) {
  const shown = curve.values.slice(first, last + 1);
  const peak = shown.reduce((a, b) => Math.max(a, b), 0);
  const most = curve.top ? curve.top() : roundUp(Math.max(peak, (curve.limit || 0) * 1.1, 1));
  const y = drawAxis(curve, top, most, curve.ticks || [0, most / 2, most]);
  let path = '';
  for (const [from, to] of groups()) {
    const part = curve.values.slice(from, to + 1);
    const low = y(part.reduce((a, b) => Math.min(a, b)));
    const high = y(part.reduce((a, b) => Math.max(a, b)));
    const x = curve.step ? leftOf(from) : (leftOf(from) + leftOf(to + 1)) / 2;
    path += `${path ? 'L' : 'M'}${x.toFixed(2)} ${low.toFixed(2)}`;
    if (high !== low) path += `L${x.toFixed(2)} ${high.toFixed(2)}`;
    if (curve.step) path += `L${leftOf(to + 1).toFixed(2)} ${high.toFixed(2)}`;
  }
  plot.append(element('path', {d: path, fill: 'none', stroke: `var(${curve.ink})`,
    'stroke-width': 1.5, 'stroke-linejoin': 'round'}));
  if (curve.limit === undefined) return;
  plot.append(element('line', {x1: LEFT, x2: width() - RIGHT, y1: y(curve.limit),
    y2: y(curve.limit), stroke: 'var(--limit)', 'stroke-dasharray': '5 4'}));
  if (curve.ticks) return;
  plot.append(element('text', {x: width() - RIGHT - 4, y: y(curve.limit) - 4,
    'text-anchor': 'end', style: 'fill:var(--limit)'}, `limit ${grouped(curve.limit)}`));
}

function drawStack(top) {
  const totals = data.total.slice(first, last + 1);
  // A few slow frames must not flatten all the others.
  const peak = totals.reduce((a, b) => Math.max(a, b), 0);
  const usual = quantile(totals, 0.98) * 1.5;
  const most = roundUp(Math.max(peak > 2 * usual ? usual : peak, 0.1));
  const y = drawAxis(STACK, top, most, [0, most / 2, most]);
  const all = groups();
  const base = all.map(() => 0);
  for (const [key] of STAGES) {
    let upper = '';
    let lower = '';
    all.forEach(([from, to], k) => {
      const x = [leftOf(from).toFixed(2), leftOf(to + 1).toFixed(2)];
      const mean = data[key].slice(from, to + 1).reduce((a, b) => a + b, 0) / (to - from + 1);
      const y0 = y(base[k]).toFixed(2);
      base[k] += mean;
      const y1 = y(base[k]).toFixed(2);
      upper += `${upper ? 'L' : 'M'}${x[0]} ${y1}L${x[1]} ${y1}`;
      lower = `L${x[1]} ${y0}L${x[0]} ${y0}${lower}`;
    });
    plot.append(element('path', {d: `${upper}${lower}Z`, fill: `var(--${key})`}));
  }
  if (most < peak) {
    plot.append(element('text', {x: width() - RIGHT - 4, y: top + 12, 'text-anchor': 'end'},
      `cut off; the longest took ${peak.toFixed(1)} ms`));
  }
}

function drawFrames(y) {
  const room = Math.max(1, Math.floor((width() - LEFT - RIGHT) / 90));
  const step = Math.ceil(roundUp(Math.max((last - first + 1) / room, 1)));
  for (let i = Math.ceil(first / step) * step; i <= last; i += step) {
    const x = middleOf(i);
    plot.append(element('line', {x1: x, x2: x, y1: y, y2: y + 5, stroke: 'var(--soft)'}));
    plot.append(element('text', {x, y: y + 17, 'text-anchor': 'middle'}, i));
    plot.append(element('text', {x, y: y + 31, 'text-anchor': 'middle'}, clock(data.time[i])));
  }
  plot.append(element('text', {x: 8, y: y + 17, class: 'name'}, 'Frame'));
  plot.append(element('text', {x: 8, y: y + 31}, 'time (min:s)'));
}

function draw() {
  plot.replaceChildren();
  let y = 4;
  for (const strip of STRIPS) {
    drawStrip(strip, y);
    y += strip.height + 8;
  }
  y += 6;
  for (const curve of CURVES) {
    drawCurve(curve, y);
    y += curve.height + 20;
  }
  drawStack(y);
  y += STACK.height;
  drawFrames(y + 4);
  plot.setAttribute('height', y + 42);
  plot.append(element('rect', {id: 'range', y: 0, height: y, width: 0, fill: 'var(--subject)',
    opacity: 0.15}));
  plot.append(element('line', {id: 'cross', y1: 0, y2: y, stroke: 'var(--ink)', opacity: 0}));
  $('reset').disabled = first === 0 && last === count - 1;
  point(chosen);
}

// ---- The frame under the pointer ----------------------------------------------------------------

function motionText(i) {
  if (!data.compared[i]) return i === 0 ? 'first frame' : 'not compared';
  if (data.motion[i] < 0) return 'failed';
  if (data.motion[i] === 0) return 'no';
  return data.motionSum[i] > data.motionThreshold ? 'yes, over the frame' : 'yes, near the subject';
}

function rowsOf(i) {
  return [
    ['Shown', data.coloured[i] ? 'in colour' : 'grey'], ['Subject', SUBJECTS[data.subject[i]]],
    ['Flash', data.flash[i] ? 'yes' : 'no'], ['Flashes in ten', data.flashes[i]],
    ['Motion', motionText(i)], ['Motion sum', grouped(data.motionSum[i])],
    ['Subject area', `${data.area[i].toFixed(1)} %`], ['Time', `${data.total[i].toFixed(2)} ms`],
    ...STAGES.map(([key, name]) => [name, `${data[key][i].toFixed(2)} ms`, key]),
  ];
}

function point(frame) {
  const tip = $('tip');
  chosen = frame;
  if (frame === null || frame < first || frame > last) {
    tip.style.display = 'none';
    $('cross').setAttribute('opacity', 0);
    return;
  }
  const x = middleOf(frame);
  for (const end of ['x1', 'x2']) $('cross').setAttribute(end, x);
  $('cross').setAttribute('opacity', 0.7);
  tip.replaceChildren();
  const title = document.createElement('b');
  title.textContent = `Frame ${frame}, ${clock(data.time[frame])}`;
  const table = document.createElement('table');
  for (const [name, value, key] of rowsOf(frame)) {
    const row = table.insertRow();
    if (name === 'Time') row.className = 'gap';
    const cell = row.insertCell();
    if (key) {
      const swatch = document.createElement('i');
      swatch.className = 'key';
      swatch.style.background = `var(--${key})`;
      cell.append(swatch);
    }
    cell.append(name);
    row.insertCell().textContent = value;
  }
  tip.append(title, table);
  tip.style.display = 'block';
  const room = $('chart').clientWidth;
  tip.style.left = `${x + 20 + tip.offsetWidth < room ? x + 18 : x - tip.offsetWidth - 6}px`;
}

function zoom(from, to) {
  first = Math.max(0, Math.min(from, to));
  last = Math.min(count - 1, Math.max(from, to));
  draw();
}

const xOf = event => event.clientX - plot.getBoundingClientRect().left;
plot.addEventListener('pointerdown', event => {
  dragged = frameAt(xOf(event));
  plot.setPointerCapture(event.pointerId);
});
plot.addEventListener('pointermove', event => {
  if (count === 0) return;
  const frame = frameAt(xOf(event));
  point(frame);
  if (dragged === null) return;
  $('range').setAttribute('x', leftOf(Math.min(frame, dragged)));
  $('range').setAttribute('width', (Math.abs(frame - dragged) + 1) * pitch());
});
plot.addEventListener('pointerup', event => {
  const from = dragged;
  const to = frameAt(xOf(event));
  dragged = null;
  if (from !== null && Math.abs(to - from) > 2) zoom(from, to);
  else $('range').setAttribute('width', 0);
});
plot.addEventListener('pointerleave', () => { if (dragged === null) point(null); });
plot.addEventListener('dblclick', () => zoom(0, count - 1));
$('reset').addEventListener('click', () => zoom(0, count - 1));
$('chart').addEventListener('keydown', event => {
  const step = {ArrowLeft: -1, ArrowRight: 1}[event.key];
  if (step === undefined || count === 0) return;
  point(Math.min(last, Math.max(first, chosen === null ? first : chosen + step)));
  event.preventDefault();
});
window.addEventListener('resize', draw);

// ---- The words around the plot ------------------------------------------------------------------

function changesAt(i) {
  if (i === 0) {
    // The library sees the subject's area jump from nothing.
    return [`first frame: ${SUBJECTS[data.subject[0]]}`, ...(data.flash[0] ? ['flash'] : [])];
  }
  const words = [];
  const differs = list => list[i] !== list[i - 1];
  if (differs(data.coloured)) words.push(data.coloured[i] ? 'in colour again' : 'turns grey');
  if (differs(data.subject)) words.push(SUBJECTS[data.subject[i]]);
  if (differs(data.flash)) words.push(data.flash[i] ? 'flash' : 'no flash any more');
  if (differs(data.motion)) words.push(data.motion[i] ? 'motion' : 'no motion any more');
  return words;
}

function describe() {
  document.title = `Scene report: ${data.source}`;
  $('title').textContent = data.source;
  $('about').textContent = `${data.width}x${data.height}, ${data.format} frames. ` +
      'What the library found in every frame, and how long its stages took.';
  if (data.checked.includes(0)) {
    $('about').textContent += ' Frames of this layout are not checked for flashes and motion.';
  }
  const facts = [
    [grouped(count), 'frames'],
    [share(how_many(data.coloured, flag => flag === 1)), 'shown in colour'],
    [share(how_many(data.subject, state => state === 2)), 'with a subject'],
    [grouped(how_many(data.flash, flag => flag === 1)), 'flash flags'],
    [grouped(how_many(data.motion, flag => flag === 1)), 'motion flags'],
    [`${quantile(data.total, 0.5).toFixed(1)} ms`, 'a frame, median'],
    [`${quantile(data.total, 0.95).toFixed(1)} ms`, 'a frame, 95 of 100 below'],
  ];
  for (const [value, name] of facts) {
    const fact = document.createElement('div');
    fact.className = 'fact';
    const number = document.createElement('b');
    number.textContent = value;
    const label = document.createElement('span');
    label.textContent = name;
    fact.append(number, label);
    $('facts').append(fact);
  }
  describeColours('flagLegend', 'Flags', [
    ['colour', 'subject in colour'], ['grey', 'all grey'], ['subject', 'subject found'],
    ['small', 'subject too small'], ['flash', 'flash'], ['motion', 'motion'],
    ['skip', 'frames not compared'],
  ]);
  describeColours('stageLegend', 'Times', STAGES);
}

function describeColours(place, title, keys) {
  $(place).append(Object.assign(document.createElement('b'), {textContent: title}));
  for (const [key, name] of keys) {
    const entry = document.createElement('span');
    const swatch = document.createElement('i');
    swatch.className = 'key';
    swatch.style.background = `var(--${key})`;
    entry.append(swatch, name);
    $(place).append(entry);
  }
}

function showChanges() {
  const shown = data.thumbnails.length;
  $('changes').textContent = shown < data.changes
      ? `${shown} of ${data.changes} places, evenly chosen, after the effect.`
      : 'Each frame after the effect. A click shows it in the plot.';
  data.thumbnailFrames.forEach((frame, k) => {
    const figure = document.createElement('figure');
    figure.tabIndex = 0;
    const image = document.createElement('img');
    image.src = `data:image/jpeg;base64,${data.thumbnails[k]}`;
    image.alt = `Frame ${frame} after the effect`;
    const caption = document.createElement('figcaption');
    const title = document.createElement('b');
    title.textContent = `Frame ${frame}, ${clock(data.time[frame])}`;
    const list = document.createElement('ul');
    for (const words of changesAt(frame)) {
      list.append(Object.assign(document.createElement('li'), {textContent: words}));
    }
    caption.append(title, list);
    figure.append(image, caption);
    const show = () => {
      if (last - first > 200) zoom(frame - 60, frame + 60);
      point(frame);
      $('chart').scrollIntoView({behavior: 'smooth', block: 'nearest'});
    };
    figure.addEventListener('click', show);
    figure.addEventListener('keydown', event => { if (event.key === 'Enter') show(); });
    $('thumbs').append(figure);
  });
}

describe();
showChanges();
draw();
