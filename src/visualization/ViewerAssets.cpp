// The fixed style, markup and script of the viewer page.

#include "visualization/detail/ViewerAssets.hpp"

namespace tavreldi::detail {

const std::string_view kViewerStyle = R"css(
:root { --ink: #1f2933; --muted: #616e7c; --line: #cbd2d9; --accent: #d9480f; --bg: #f5f7fa; }
* { box-sizing: border-box; }
body { margin: 0; font: 14px/1.45 system-ui, sans-serif; color: var(--ink); background: #fff; }
header { display: flex; align-items: center; gap: 24px; padding: 8px 16px; background: var(--bg);
  border-bottom: 1px solid var(--line); flex-wrap: wrap; }
h1 { font-size: 18px; margin: 0; }
h2 { font-size: 17px; margin: 0 0 8px; word-break: break-all; }
h3 { font-size: 15px; margin: 20px 0 6px; }
nav button, .toolbar button, .copy, .send, .link { font: inherit; cursor: pointer; }
nav button { border: 1px solid var(--line); background: #fff; padding: 4px 12px; border-radius: 4px; }
nav button[aria-selected="true"] { background: var(--ink); color: #fff; border-color: var(--ink); }
main > section { padding: 12px 16px; }
main > section[hidden] { display: none; }
#screen-graph { padding: 0; }
.toolbar { display: flex; gap: 8px; align-items: center; padding: 8px 16px; border-bottom: 1px solid var(--line); }
#search { width: 300px; padding: 4px 8px; font: inherit; }
.muted { color: var(--muted); }
#graph { display: block; width: 100%; height: calc(100vh - 104px); min-height: 320px; cursor: grab;
  background: #fff; touch-action: none; user-select: none; }
#graph.dragging { cursor: grabbing; }
.band { fill: #f8f9fb; } .band.odd { fill: #eef1f5; }
.band-label { font: 600 13px system-ui, sans-serif; fill: var(--muted); }
.node { cursor: pointer; }
.node rect { stroke: #52606d; stroke-width: 1; }
.node text { font: 12px system-ui, sans-serif; fill: #102a43; pointer-events: none; }
.node.circular rect { stroke: #c92a2a; stroke-width: 2.5; }
.node.match rect { stroke: var(--accent); stroke-width: 3; }
.node.selected rect { stroke: #1c7ed6; stroke-width: 4; }
.node:focus { outline: none; } .node:focus rect { stroke-dasharray: 4 2; }
.edge { fill: none; stroke: #7b8794; stroke-width: 1.3; }
.edge.circular { stroke: #c92a2a; stroke-dasharray: 6 4; stroke-width: 1.8; }
.edge.hl { stroke: #1c7ed6; stroke-width: 2.5; }
.cycle-mark { font: 700 14px system-ui, sans-serif; fill: #c92a2a; }
.hidden { display: none; }
svg.defs { position: absolute; }
.figure { white-space: nowrap; }
table { border-collapse: collapse; margin: 4px 0 8px; }
td, th { text-align: left; padding: 3px 12px 3px 0; vertical-align: top; border-bottom: 1px solid #edf0f3; }
th { font-weight: 600; color: var(--muted); }
.swatch { display: inline-block; width: 14px; height: 14px; border: 1px solid #52606d;
  vertical-align: -2px; margin-right: 6px; border-radius: 3px; }
.link { border: none; background: none; color: #1864ab; padding: 0; text-decoration: underline; }
ul.names { margin: 4px 0; padding-left: 20px; }
.grid { display: grid; grid-template-columns: repeat(auto-fill, minmax(340px, 1fr)); gap: 0 32px; }
.bar { width: 220px; height: 12px; background: #e4e7eb; border-radius: 6px; overflow: hidden; display: inline-block; vertical-align: middle; }
.bar > div { height: 100%; background: #2f9e44; }
.badge { display: inline-block; padding: 0 8px; border-radius: 10px; font-size: 12px; background: #e4e7eb; margin-right: 6px; }
.badge.High, .badge.Critical { background: #ffc9c9; } .badge.Medium { background: #ffec99; } .badge.Low { background: #d3f9d8; }
.card { border: 1px solid var(--line); border-radius: 6px; padding: 8px 12px; margin: 8px 0; }
pre { background: var(--bg); border: 1px solid var(--line); padding: 10px; overflow: auto; max-height: 70vh; margin: 8px 0; }
#diagram-tabs { display: flex; gap: 6px; flex-wrap: wrap; margin-bottom: 8px; }
.ok { color: #2b8a3e; } .error { color: #c92a2a; }
)css";

const std::string_view kViewerBody =
    R"html(<svg class="defs" aria-hidden="true" width="0" height="0"><defs>
<marker id="arrow" viewBox="0 0 10 10" refX="10" refY="5" markerUnits="userSpaceOnUse" markerWidth="9" markerHeight="9" orient="auto-start-reverse"><path d="M0,0 L10,5 L0,10 z" fill="#7b8794"/></marker>
<marker id="arrow-circular" viewBox="0 0 10 10" refX="10" refY="5" markerUnits="userSpaceOnUse" markerWidth="9" markerHeight="9" orient="auto-start-reverse"><path d="M0,0 L10,5 L0,10 z" fill="#c92a2a"/></marker>
<marker id="arrow-hl" viewBox="0 0 10 10" refX="10" refY="5" markerUnits="userSpaceOnUse" markerWidth="9" markerHeight="9" orient="auto-start-reverse"><path d="M0,0 L10,5 L0,10 z" fill="#1c7ed6"/></marker>
</defs></svg>
<header>
<h1 id="title"></h1>
<nav id="tabs" role="tablist">
<button role="tab" data-screen="graph">Graph</button>
<button role="tab" data-screen="details">Node details</button>
<button role="tab" data-screen="stats">Statistics</button>
<button role="tab" data-screen="legend">Legend</button>
<button role="tab" data-screen="diagrams">Diagrams</button>
<button role="tab" data-screen="dashboard">Dashboard</button>
</nav>
</header>
<main>
<section id="screen-graph" role="tabpanel">
<div class="toolbar">
<input id="search" type="search" placeholder="Search services; Enter zooms to them" aria-label="Search services">
<span id="search-count" class="muted"></span>
<button id="fit" title="Show the whole graph">Fit</button>
<button id="zoom-in" title="Zoom in">+</button>
<button id="zoom-out" title="Zoom out">&#8722;</button>
<span class="muted">Drag to pan, wheel to zoom, click a service for its details.</span>
</div>
<svg id="graph" xmlns="http://www.w3.org/2000/svg" role="img" aria-label="Dependency graph">
<g id="viewport"><g id="bands"></g><g id="edges"></g><g id="nodes"></g></g>
</svg>
</section>
<section id="screen-details" role="tabpanel" hidden><div id="details"><p class="muted">Click a service in the graph to see its details here.</p></div></section>
<section id="screen-stats" role="tabpanel" hidden><div id="stats"></div></section>
<section id="screen-legend" role="tabpanel" hidden><div id="legend"></div></section>
<section id="screen-diagrams" role="tabpanel" hidden><nav id="diagram-tabs" role="tablist"></nav><div id="diagram-panels"></div></section>
<section id="screen-dashboard" role="tabpanel" hidden><div id="dashboard"></div></section>
</main>
)html";

// The script never parses data as markup: names reach the page through text nodes
// (append/textContent) and attribute values only through setAttribute.
const std::string_view kViewerScript = R"js('use strict';
(() => {
const D = JSON.parse(document.getElementById('viewer-data').textContent);
const $ = (id) => document.getElementById(id);
const SVG_NS = 'http://www.w3.org/2000/svg';
const LAYER_NAMES = { 4: 'ViewModel', 3: 'UseCase', 2: 'Repository', 1: 'API', 0: 'Other' };
const layerName = (layer) => LAYER_NAMES[layer] || 'Other';
const scopeColors = new Map(D.scopeColors);
const scopeColor = (scope) => scopeColors.get(scope) || '#eeeeee';
const W = 180, H = 36, GAP_X = 24, GAP_Y = 28, BAND_GAP = 56, LEFT = 200, TOP = 30;

function el(tag, attrs, ...children) {
  const e = document.createElement(tag);
  for (const [k, v] of Object.entries(attrs || {})) {
    if (k === 'class') e.className = v;
    else if (k.startsWith('on')) e.addEventListener(k.slice(2), v);
    else e.setAttribute(k, v);
  }
  for (const c of children) if (c !== null && c !== undefined) e.append(c);
  return e;
}
function svg(tag, attrs) {
  const e = document.createElementNS(SVG_NS, tag);
  for (const [k, v] of Object.entries(attrs || {})) e.setAttribute(k, v);
  return e;
}
const swatch = (color) => { const s = el('span', { class: 'swatch' }); s.style.background = color; return s; };
const table = (rows) => el('table', {}, ...rows.map(([k, v]) => el('tr', {}, el('th', {}, k), el('td', {}, v))));
const fixed = (x, digits) => (typeof x === 'number' ? x.toFixed(digits) : String(x));
const ms = (seconds) => (typeof seconds === 'number' && seconds < 0.001 ? fixed(seconds * 1e6, 1) + ' µs' : fixed(seconds * 1000, 3) + ' ms');
function bytes(n) {
  const units = ['bytes', 'KB', 'MB', 'GB'];
  let i = 0;
  while (n >= 1000 && i < units.length - 1) { n /= 1000; i++; }
  return (i ? n.toFixed(1) : String(Math.round(n))) + ' ' + units[i];
}

// ---- Index -------------------------------------------------------------------------------
const nodes = D.nodes, edges = D.edges;
const indexOf = new Map();
nodes.forEach((n, i) => { if (!indexOf.has(n.id)) indexOf.set(n.id, i); });
const outgoing = nodes.map(() => []), incoming = nodes.map(() => []);
edges.forEach((e, k) => {
  const a = indexOf.get(e.from), b = indexOf.get(e.to);
  if (a === undefined || b === undefined) return;
  outgoing[a].push(k); incoming[b].push(k);
});

// ---- Screens -----------------------------------------------------------------------------
const screens = [...document.querySelectorAll('#tabs button')];
let fitted = false;
function showScreen(name) {
  for (const b of screens) {
    const on = b.dataset.screen === name;
    b.setAttribute('aria-selected', String(on));
    $('screen-' + b.dataset.screen).hidden = !on;
  }
  if (name === 'graph' && !fitted) fit();
}
for (const b of screens) b.addEventListener('click', () => showScreen(b.dataset.screen));

// ---- Graph: layout by layer, view models at the top ---------------------------------------
const svgEl = $('graph'), viewport = $('viewport');
const layers = [...new Set(nodes.map((n) => n.layer))].sort((a, b) => b - a);
const perRow = Math.max(6, Math.ceil(Math.sqrt(nodes.length) * 1.3));
const pos = new Array(nodes.length);
let bottom = TOP, widest = 0;
layers.forEach((layer, li) => {
  const members = [];
  nodes.forEach((n, i) => { if (n.layer === layer) members.push(i); });
  const rows = Math.ceil(members.length / perRow);
  const height = rows * (H + GAP_Y) - GAP_Y;
  members.forEach((i, k) => {
    pos[i] = { x: LEFT + (k % perRow) * (W + GAP_X), y: bottom + Math.floor(k / perRow) * (H + GAP_Y) };
  });
  widest = Math.max(widest, LEFT + Math.min(members.length, perRow) * (W + GAP_X));
  const band = svg('rect', { class: 'band' + (li % 2 ? ' odd' : ''), x: 0, y: bottom - BAND_GAP / 2 + 4,
    height: height + BAND_GAP - 8, 'data-layer': layer });
  const label = svg('text', { class: 'band-label', x: 12, y: bottom + H / 2 + 5 });
  label.textContent = 'Layer ' + layer + ' · ' + layerName(layer);
  $('bands').append(band, label);
  bottom += height + BAND_GAP;
});
for (const band of $('bands').querySelectorAll('rect')) band.setAttribute('width', widest + 20);
const contentW = widest + 20, contentH = bottom;

function edgePath(a, b) {
  const p = pos[a], q = pos[b];
  if (a === b) return `M${p.x + W},${p.y + 8} c46,-24 46,44 0,20`;
  const x1 = p.x + W / 2, x2 = q.x + W / 2;
  if (q.y === p.y) {
    const lift = 30 + Math.abs(x2 - x1) / 8;
    return `M${x1},${p.y} C${x1},${p.y - lift} ${x2},${q.y - lift} ${x2},${q.y}`;
  }
  const down = q.y > p.y;
  const y1 = down ? p.y + H : p.y, y2 = down ? q.y : q.y + H, my = (y1 + y2) / 2;
  return `M${x1},${y1} C${x1},${my} ${x2},${my} ${x2},${y2}`;
}

const edgeEls = new Map();
const edgeFragment = document.createDocumentFragment();
edges.forEach((e, k) => {
  const a = indexOf.get(e.from), b = indexOf.get(e.to);
  if (a === undefined || b === undefined) return;
  const path = svg('path', { class: 'edge' + (e.isCircular ? ' circular' : ''), d: edgePath(a, b),
    'marker-end': e.isCircular ? 'url(#arrow-circular)' : 'url(#arrow)' });
  const title = svg('title');
  title.textContent = e.from + ' → ' + e.to + (e.isCircular ? ' (circular)' : '');
  path.append(title);
  edgeFragment.append(path);
  edgeEls.set(k, { path, a, b, circular: e.isCircular });
  if (e.isCircular) {
    const mark = svg('text', { class: 'cycle-mark', 'text-anchor': 'middle' });
    mark.textContent = '⟲';
    edgeFragment.append(mark);
    edgeEls.get(k).mark = mark;
    const p = pos[a], q = pos[b];
    mark.setAttribute('x', a === b ? p.x + W + 40 : (p.x + q.x) / 2 + W / 2 + 10);
    mark.setAttribute('y', a === b ? p.y + 22 : (p.y + q.y) / 2 + H / 2);
  }
});
$('edges').append(edgeFragment);

const shortLabel = (id) => (id.length <= 25 ? id : '…' + id.slice(-24));
const nodeEls = [];
const nodeFragment = document.createDocumentFragment();
nodes.forEach((n, i) => {
  const g = svg('g', { class: 'node' + (n.isCircular ? ' circular' : ''), tabindex: '0', role: 'button',
    transform: `translate(${pos[i].x},${pos[i].y})`, 'data-index': i });
  g.append(svg('rect', { width: W, height: H, rx: 6, fill: scopeColor(n.scope) }));
  const text = svg('text', { x: W / 2, y: H / 2 + 4, 'text-anchor': 'middle' });
  text.textContent = shortLabel(n.id);
  const title = svg('title');
  title.textContent = n.id + ' (' + n.scope + ')';
  g.append(text, title);
  nodeEls.push(g);
  nodeFragment.append(g);
});
$('nodes').append(nodeFragment);

// ---- Pan and zoom ------------------------------------------------------------------------
const view = { x: 0, y: 0, k: 1 };
const clamp = (v, lo, hi) => Math.min(hi, Math.max(lo, v));
const applyView = () => viewport.setAttribute('transform', `translate(${view.x},${view.y}) scale(${view.k})`);
function zoomAt(cx, cy, factor) {
  const k = clamp(view.k * factor, 0.02, 4), f = k / view.k;
  view.x = cx - (cx - view.x) * f; view.y = cy - (cy - view.y) * f; view.k = k;
  applyView();
}
// Shows the whole drawing, or only the nodes `indices` when given.
function fit(indices) {
  const r = svgEl.getBoundingClientRect();
  if (!r.width || !r.height) return;
  let x0 = 0, y0 = 0, x1 = contentW, y1 = contentH;
  if (indices && indices.length) {
    x0 = Math.min(...indices.map((i) => pos[i].x)) - 40; x1 = Math.max(...indices.map((i) => pos[i].x)) + W + 40;
    y0 = Math.min(...indices.map((i) => pos[i].y)) - 40; y1 = Math.max(...indices.map((i) => pos[i].y)) + H + 40;
  }
  view.k = clamp(Math.min(r.width / (x1 - x0), r.height / (y1 - y0)) * 0.96, 0.02, 1.4);
  view.x = (r.width - (x1 - x0) * view.k) / 2 - x0 * view.k;
  view.y = (r.height - (y1 - y0) * view.k) / 2 - y0 * view.k;
  applyView();
  fitted = true;
}
function centerOn(i) {
  const r = svgEl.getBoundingClientRect();
  view.k = Math.max(view.k, 0.8);
  view.x = r.width / 2 - (pos[i].x + W / 2) * view.k; view.y = r.height / 2 - (pos[i].y + H / 2) * view.k;
  applyView();
}
svgEl.addEventListener('wheel', (ev) => {
  ev.preventDefault();
  const r = svgEl.getBoundingClientRect();
  zoomAt(ev.clientX - r.left, ev.clientY - r.top, Math.exp(-ev.deltaY * 0.0015));
}, { passive: false });
let drag = null;
svgEl.addEventListener('pointerdown', (ev) => {
  if (ev.button !== 0) return;
  const node = ev.target.closest && ev.target.closest('.node');
  drag = { x: ev.clientX, y: ev.clientY, vx: view.x, vy: view.y, moved: false, node, id: ev.pointerId };
});
svgEl.addEventListener('pointermove', (ev) => {
  if (!drag) return;
  const dx = ev.clientX - drag.x, dy = ev.clientY - drag.y;
  if (!drag.moved && Math.hypot(dx, dy) < 4) return;
  if (!drag.moved) { drag.moved = true; svgEl.setPointerCapture(drag.id); svgEl.classList.add('dragging'); }
  view.x = drag.vx + dx; view.y = drag.vy + dy;
  applyView();
});
const endDrag = () => {
  if (!drag) return;
  if (!drag.moved && drag.node) select(Number(drag.node.dataset.index));
  svgEl.classList.remove('dragging');
  drag = null;
};
svgEl.addEventListener('pointerup', endDrag);
svgEl.addEventListener('pointercancel', () => { drag = null; svgEl.classList.remove('dragging'); });
svgEl.addEventListener('keydown', (ev) => {
  const node = ev.target.closest && ev.target.closest('.node');
  if (node && (ev.key === 'Enter' || ev.key === ' ')) { ev.preventDefault(); select(Number(node.dataset.index)); }
});
const graphSize = () => { const r = svgEl.getBoundingClientRect(); return [r.width / 2, r.height / 2]; };
$('fit').addEventListener('click', () => fit());
$('zoom-in').addEventListener('click', () => zoomAt(...graphSize(), 1.25));
$('zoom-out').addEventListener('click', () => zoomAt(...graphSize(), 0.8));

// ---- Search: highlight matches, hide the rest --------------------------------------------
const visible = nodes.map(() => true);
function applySearch() {
  const q = $('search').value.trim().toLowerCase();
  let count = 0;
  nodeEls.forEach((g, i) => {
    const hit = !q || nodes[i].id.toLowerCase().includes(q);
    visible[i] = hit;
    if (hit) count++;
    g.classList.toggle('hidden', !hit);
    g.classList.toggle('match', Boolean(q) && hit);
  });
  for (const e of edgeEls.values()) {
    const hide = !(visible[e.a] && visible[e.b]);
    e.path.classList.toggle('hidden', hide);
    if (e.mark) e.mark.classList.toggle('hidden', hide);
  }
  $('search-count').textContent = q ? `${count} of ${nodes.length} services match` : `${nodes.length} services`;
}
$('search').addEventListener('input', applySearch);
$('search').addEventListener('keydown', (ev) => {
  if (ev.key !== 'Enter') return;
  const matches = nodes.map((n, i) => i).filter((i) => visible[i]);
  if (matches.length) fit(matches.length === nodes.length ? undefined : matches);
});

// ---- Node details ------------------------------------------------------------------------
let selected = null;
function highlight(i, on) {
  nodeEls[i].classList.toggle('selected', on);
  for (const k of outgoing[i].concat(incoming[i])) {
    const e = edgeEls.get(k);
    e.path.classList.toggle('hl', on);
    e.path.setAttribute('marker-end', on ? 'url(#arrow-hl)' : e.circular ? 'url(#arrow-circular)' : 'url(#arrow)');
  }
}
function select(i, stay) {
  if (selected !== null) highlight(selected, false);
  selected = i;
  highlight(i, true);
  renderDetails(i);
  if (!stay) showScreen('details');
}
function nodeLink(name) {
  const i = indexOf.get(name);
  if (i === undefined) return el('span', {}, name, el('span', { class: 'muted' }, ' (not in the graph)'));
  return el('button', { class: 'link', onclick: () => select(i, true) }, name);
}
const nameList = (names) => (names.length
  ? el('ul', { class: 'names' }, ...names.map((name) => el('li', {}, nodeLink(name))))
  : el('p', { class: 'muted' }, 'None'));

function renderDetails(i) {
  const n = nodes[i], box = $('details');
  const deps = [...new Set(outgoing[i].map((k) => edges[k].to).concat(n.dependencies))];
  const dependents = [...new Set(incoming[i].map((k) => edges[k].from))];
  const metadata = Object.entries(n.metadata);
  const pm = n.performanceMetrics;
  box.replaceChildren(
    el('h2', {}, n.id),
    el('button', { class: 'link', onclick: () => { showScreen('graph'); centerOn(i); } }, 'Show in graph'),
    table([
      ['Scope', el('span', {}, swatch(scopeColor(n.scope)), n.scope)],
      ['Type', n.type], ['Category', n.category],
      ['Layer', n.layer + ' · ' + layerName(n.layer)], ['Complexity', n.complexity],
      ['On a cycle', n.isCircular ? 'Yes' : 'No'], ['Tags', n.tags.length ? n.tags.join(', ') : 'None'],
    ]),
    el('h3', {}, 'Metadata'),
    metadata.length ? table(metadata) : el('p', { class: 'muted' }, 'None'),
    el('div', { class: 'grid' },
      el('div', { class: 'dependencies' }, el('h3', {}, `Dependencies (${deps.length})`), nameList(deps)),
      el('div', { class: 'dependents' }, el('h3', {}, `Dependents (${dependents.length})`), nameList(dependents))),
    el('div', { class: 'grid' },
      el('div', {}, el('h3', {}, 'Sample figures (generated)'),
        el('p', { class: 'muted' }, 'Drawn at random by the graph builder; not measurements.'),
        table([['Resolution time', ms(pm.resolutionTime)], ['Memory footprint', bytes(pm.memoryFootprint)],
          ['Cache hit rate', fixed(pm.cacheHitRate * 100, 1) + ' %'], ['Resolution count', String(pm.resolutionCount)],
          ['Last resolved', pm.lastResolved || 'Never']])),
      el('div', {}, el('h3', {}, 'Measured by the container'), measuredFigures(n.id))));
}
function measuredFigures(id) {
  const m = D.measured[id];
  if (!m) {
    return el('p', { class: 'muted' }, Object.keys(D.measured).length
      ? 'Nothing measured for this service.'
      : 'No measurements: this page was made from a saved graph, not from a live container.');
  }
  return table([['Resolution count', String(m.resolutionCount)], ['Cache hits', String(m.cacheHits)],
    ['Latest resolution time', m.latestResolutionTime === null ? 'Not resolved yet' : ms(m.latestResolutionTime)],
    ['Last resolved', m.lastResolved || 'Never']]);
}

// ---- Statistics --------------------------------------------------------------------------
function bar(value, scale) {
  const fill = el('div');
  fill.style.width = clamp(value / scale, 0, 1) * 100 + '%';
  return el('span', { class: 'figure' }, el('span', { class: 'bar' }, fill), ` ${fixed(value, scale > 1 ? 1 : 2)} / ${scale}`);
}
const chain = (names, closed) => el('span', {}, ...names.flatMap((name, k) => (k ? [' → ', nodeLink(name)] : [nodeLink(name)])),
  closed && names.length ? ' → ' : '', closed && names.length ? nodeLink(names[0]) : null);
const badge = (label, value) => el('span', { class: 'badge ' + value }, label + ': ' + value);

function renderStats() {
  const A = D.analysis, box = $('stats');
  const h = A.healthScore, cm = A.complexityMetrics, am = A.architectureMetrics, pm = A.performanceMetrics;
  const health = [['Performance', h.performance, 1], ['Maintainability', h.maintainability, 1],
    ['Testability', h.testability, 100], ['Scalability', h.scalability, 1], ['Security', h.security, 1],
    ['Reliability', h.reliability, 1]];
  box.append(el('div', { class: 'grid' },
    el('div', {}, el('h3', {}, 'Overview'), table([
      ['Services', String(A.totalNodes)], ['Dependencies', String(A.totalDependencies)],
      ['Greatest depth', String(A.maxDepth)], ['Circular dependencies', A.hasCircularDependencies ? 'Yes' : 'No'],
      ['Cache efficiency', fixed(A.cacheEfficiency, 1) + ' %'], ['Memory usage', bytes(A.memoryUsage)],
      ['Analysis time', ms(A.analysisTime)], ['Analysis complete', A.isComplete ? 'Yes' : 'No']])),
    el('div', {}, el('h3', {}, 'Health'), table([['Overall', fixed(h.overall, 3)], ...health.map(([k, v, s]) => [k, bar(v, s)])]),
      el('p', { class: 'muted' }, 'Testability is on a 0–100 scale, the other components on 0–1; each bar is scaled to its own range. ' +
        'Overall is the mean of the six components as they are, so it can exceed 1.'))));
  box.append(el('div', { class: 'grid' },
    el('div', {}, el('h3', {}, 'Complexity'), table([
      ['Cyclomatic complexity', String(cm.cyclomaticComplexity)], ['Coupling', fixed(cm.couplingScore, 3)],
      ['Cohesion', fixed(cm.cohesionScore, 3)], ['Fan-in', String(cm.fanIn)], ['Fan-out', String(cm.fanOut)],
      ['Instability', fixed(cm.instability, 3)], ['Abstractness', fixed(cm.abstractness, 3)],
      ['Distance from main sequence', fixed(cm.distanceFromMainSequence, 3)]])),
    el('div', {}, el('h3', {}, 'Architecture'), table([
      ['Layer violations', String(am.layerViolations)], ['Dependency inversion violations', String(am.dependencyInversionViolations)],
      ['Single responsibility violations', String(am.singleResponsibilityViolations)],
      ['Open/closed violations', String(am.openClosedViolations)], ['Liskov substitution violations', String(am.liskovSubstitutionViolations)],
      ['Interface segregation violations', String(am.interfaceSegregationViolations)],
      ['Compliance', fixed(am.architectureCompliance * 100, 1) + ' %']])),
    el('div', {}, el('h3', {}, 'Performance (sample figures)'), table([
      ['Average resolution', ms(pm.averageResolutionTime)], ['Slowest', ms(pm.slowestResolution)],
      ['Fastest', ms(pm.fastestResolution)], ['Memory', bytes(pm.totalMemoryFootprint)],
      ['Cache hit rate', fixed(pm.cacheHitRate * 100, 1) + ' %'], ['Trend', pm.performanceTrend],
      ['Bottlenecks', pm.bottleneckNodes.length ? pm.bottleneckNodes.join(', ') : 'None']]))));

  box.append(el('h3', {}, 'Cycles'));
  const C = D.cycleAnalysis;
  if (C) {
    box.append(table([['Cycles', String(C.totalCycles)], ['Critical', String(C.criticalCycles)],
      ['High impact', String(C.highImpactCycles)], ['Medium impact', String(C.mediumImpactCycles)],
      ['Average length', String(C.averageCycleLength)], ['Longest', String(C.longestCycle)]]));
    for (const c of C.cycles) {
      box.append(el('div', { class: 'card cycle' }, el('div', {}, badge('Severity', c.severity), badge('Impact', c.impact)),
        el('p', {}, chain(c.cycle, true)), el('ul', {}, ...c.suggestions.map((s) => el('li', {}, s)))));
    }
    box.append(el('p', {}, 'Advice:'), el('ul', {}, ...C.recommendations.map((s) => el('li', {}, s))));
  } else if (A.circularDependencyChains.length) {
    for (const c of A.circularDependencyChains) box.append(el('div', { class: 'card cycle' }, chain(c, true)));
  } else {
    box.append(el('p', { class: 'muted' }, 'No cycles.'));
  }

  box.append(el('h3', {}, 'Critical paths'));
  if (!D.criticalPaths.length) box.append(el('p', { class: 'muted' }, 'No chain of four or more services.'));
  for (const p of D.criticalPaths) {
    box.append(el('div', { class: 'card path' }, el('strong', {}, `${p.name} (${p.length} services, impact ${p.impact})`),
      el('p', {}, chain(p.nodes, false))));
  }
  if (D.clusters.length) {
    box.append(el('h3', {}, 'Clusters'), table(D.clusters.map((c) => [el('span', {}, swatch(c.color), c.name),
      `${c.nodes.length}: ${c.nodes.join(', ')}`])));
  }

  box.append(el('h3', {}, 'Recommendations'));
  if (!A.recommendations.length) box.append(el('p', { class: 'muted' }, 'No recommendations.'));
  for (const r of A.recommendations) {
    box.append(el('div', { class: 'card recommendation' },
      el('div', {}, badge('Priority', r.priority), el('span', { class: 'badge' }, r.type), el('strong', {}, r.title)),
      el('p', {}, r.description),
      el('p', { class: 'muted' }, `Impact ${r.estimatedImpact}, effort ${r.effort}. Affects: ${r.affectedNodes.join(', ') || 'nothing named'}.`)));
  }
}

// ---- Legend ------------------------------------------------------------------------------
function edgeSample(cls, marker) {
  const s = svg('svg', { width: 70, height: 14 });
  s.append(svg('path', { class: 'edge ' + cls, d: 'M2,7 L62,7', 'marker-end': `url(#${marker})` }));
  return s;
}
function renderLegend() {
  $('legend').append(el('div', { class: 'grid' },
    el('div', {}, el('h3', {}, 'Scopes (node fill)'),
      table(D.scopeColors.map(([scope, color]) => [el('span', {}, swatch(color), scope), color]))),
    el('div', {}, el('h3', {}, 'Edges'), table([
      [edgeSample('', 'arrow'), 'Dependency: the service at the tail resolves the one at the head'],
      [edgeSample('circular', 'arrow-circular'), 'Circular dependency: dashed, red, marked ⟲'],
      [edgeSample('hl', 'arrow-hl'), 'Edge of the selected service']]),
      el('h3', {}, 'Node outlines'), table([['Red, thick', 'Service on a cycle'], ['Orange', 'Search match'], ['Blue', 'Selected service']])),
    el('div', {}, el('h3', {}, 'Layers (top to bottom)'),
      table([4, 3, 2, 1, 0].map((l) => [String(l), LAYER_NAMES[l]])))));
}

// ---- Diagrams ----------------------------------------------------------------------------
async function copyText(text) {
  try {
    if (navigator.clipboard && window.isSecureContext) { await navigator.clipboard.writeText(text); return true; }
  } catch (e) { /* fall back to a selected text area */ }
  const area = el('textarea', { readonly: '' });
  area.value = text;
  area.style.position = 'fixed'; area.style.opacity = '0';
  document.body.append(area);
  area.select();
  let ok = false;
  try { ok = document.execCommand('copy'); } catch (e) { ok = false; }
  area.remove();
  return ok;
}
function renderDiagrams() {
  const tabs = [], panels = [];
  const show = (index) => D.diagrams.forEach((d, k) => {
    tabs[k].setAttribute('aria-selected', String(k === index));
    panels[k].hidden = k !== index;
    const pre = panels[k].querySelector('pre');
    if (k === index && !pre.dataset.filled) { pre.textContent = d.text; pre.dataset.filled = 'true'; }
  });
  D.diagrams.forEach((d, k) => {
    tabs.push(el('button', { role: 'tab', 'data-diagram': d.type, onclick: () => show(k) }, d.name));
    const status = el('span', { class: 'muted', role: 'status' });
    const copy = el('button', { class: 'copy', onclick: async () => {
      status.textContent = (await copyText(d.text)) ? 'Copied.' : 'Copying failed: select the text and copy it by hand.';
    } }, 'Copy');
    panels.push(el('section', { class: 'diagram', 'data-diagram': d.type, hidden: '' },
      el('div', {}, el('strong', {}, d.name + ' '), copy, ' ', status), el('pre', {})));
  });
  $('diagram-tabs').append(...tabs);
  $('diagram-panels').append(...panels);
  if (D.diagrams.length) show(0);
}

// ---- Dashboard ---------------------------------------------------------------------------
function renderDashboard() {
  const box = $('dashboard'), { summary, url } = D.dashboard;
  const enable = 'Render the page with a dashboard summary (ViewerOptions::dashboardSummaryJson) to show it here, ' +
    'and with the dashboard address (ViewerOptions::dashboardUrl) to send it.';
  if (summary === null) {
    box.append(el('p', {}, 'No dashboard summary was given to this page.'), el('p', { class: 'muted' }, enable));
    return;
  }
  let pretty = summary;
  try { pretty = JSON.stringify(JSON.parse(summary), null, 2); } catch (e) { /* shown as given */ }
  box.append(el('h3', {}, 'Dashboard summary'), el('pre', { id: 'dashboard-summary' }, pretty));
  if (url === null) { box.append(el('p', { class: 'muted' }, 'Sending is off. ' + enable)); return; }
  const target = url.replace(/\/+$/, '') + '/api/updateUserDashboard';
  const result = el('pre', { id: 'dashboard-result', hidden: '' });
  const send = el('button', { class: 'send', onclick: async () => {
    send.disabled = true;
    result.hidden = false; result.className = ''; result.textContent = 'Sending…';
    try {
      const response = await fetch(target, { method: 'POST', headers: { 'Content-Type': 'application/json' }, body: summary });
      const text = await response.text();
      result.className = response.ok ? 'ok' : 'error';
      result.textContent = `${response.status} ${response.statusText}\n${text}`;
    } catch (e) {
      result.className = 'error';
      result.textContent = 'Could not reach the dashboard: ' + e.message;
    } finally { send.disabled = false; }
  } }, 'Send to dashboard');
  box.append(el('p', {}, send, ' ', el('span', { class: 'muted' }, 'POST ' + target)), result);
}

document.title = D.title;
$('title').textContent = D.title;
applySearch();
renderStats();
renderLegend();
renderDiagrams();
renderDashboard();
showScreen('graph');
window.addEventListener('resize', () => { if (!fitted) fit(); });
document.body.dataset.ready = 'true';
})();
)js";

}  // namespace tavreldi::detail
