// Opens the graph viewer pages that the tavreldi tool writes in headless Chromium and uses them as a
// person would: click, search, switch screens; also times a page of 1,000 services. (Mermaid's own
// parser reads the generated Mermaid text in DiagramGenerators_test.cpp, through parse-mermaid.mjs.)
// Usage: node viewer.test.mjs [path/to/tavreldi]. TAVRELDI_TOOL names the tool (default: the first
// argument, then ../../build/test/tools/tavreldi/tavreldi), CHROMIUM the browser (/usr/bin/chromium).

import { test, before, after } from 'node:test';
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { chromium } from 'playwright-core';

const here = path.dirname(fileURLToPath(import.meta.url));
const root = path.resolve(here, '../..');
const tool = process.env.TAVRELDI_TOOL || process.argv[2] || path.join(root, 'build/test/tools/tavreldi/tavreldi');
const browserPath = process.env.CHROMIUM || '/usr/bin/chromium';
const work = fs.mkdtempSync(path.join(os.tmpdir(), 'tavreldi-viewer-'));

const AWKWARD = {
  script: '</script><img src=x onerror=alert(1)>', template: 'Repository<User>', cache: 'Cache<Key, Value>',
  dotted: 'My.Service-A', quotes: '"Quoted" & \'single\' UseCase', unicode: 'Ünïcødé ViewModel',
  separator: 'Line\u2028Break',
};

// A graph in the DependencyGraph JSON form, its records made from the sample page's own (the
// tool requires every key). `nodes` are [id, scope, layer]; `edges` are [from, to, circular].
function makeGraph(nodes, edges) {
  const dependencies = new Map(nodes.map(([id]) => [id, []]));
  for (const [from, to] of edges) dependencies.get(from)?.push(to);
  const circularIds = new Set(edges.filter((e) => e[2]).flatMap(([from, to]) => [from, to]));
  const columns = Math.max(Math.floor(Math.sqrt(nodes.length)), 3);
  return {
    nodes: nodes.map(([id, scope, layer], i) => ({
      ...sampleData.nodes[0], id, scope, dependencies: dependencies.get(id), layer, isCircular: circularIds.has(id),
      position: [(i % columns) * 150 + 100, Math.floor(i / columns) * 100 + 100],
      metadata: { scope, note: '<b>bold?</b> & more' },
    })),
    edges: edges.map(([from, to, circular]) => ({ ...sampleData.edges[0], from, to, isCircular: Boolean(circular) })),
    analysis: { ...sampleData.analysis, hasCircularDependencies: edges.some((e) => e[2]), totalNodes: nodes.length,
      totalDependencies: edges.length, circularDependencyChains: [] },
  };
}

function awkwardGraph() {
  const a = AWKWARD;
  return makeGraph(
    [[a.unicode, 'lazy', 4], [a.quotes, 'transient', 3], [a.template, 'scoped', 2], [a.script, 'singleton', 0],
      [a.cache, 'singleton', 0], [a.dotted, 'custom', 0], [a.separator, 'container', 0]],
    [[a.unicode, a.quotes], [a.quotes, a.template], [a.template, a.script], [a.template, a.cache],
      [a.script, a.dotted, true], [a.dotted, a.script, true], [a.cache, a.separator]]);
}

// 1,000 services in five layers and 3,000 dependencies, each pointing to a later service so
// that the graph has no cycle (a fixed pseudo-random sequence keeps the page the same).
function largeGraph() {
  const suffix = ['ViewModel', 'UseCase', 'Repository', 'API', 'Helper'];
  const nodes = Array.from({ length: 1000 }, (_, i) => {
    const layer = Math.floor(i / 200);
    return [`Feature${i % 200}${suffix[layer]}`, ['lazy', 'transient', 'scoped', 'singleton', 'singleton'][layer], 4 - layer];
  });
  let seed = 12345;
  const next = () => { seed = (seed * 1103515245 + 12345) % 2147483648; return seed; };
  const edges = [], seen = new Set();
  while (edges.length < 3000) {
    const from = next() % 999, to = from + 1 + (next() % Math.min(300, 999 - from));
    if (seen.has(from + '>' + to)) continue;
    seen.add(from + '>' + to);
    edges.push([nodes[from][0], nodes[to][0], false]);
  }
  return makeGraph(nodes, edges);
}

const runTool = (...args) => execFileSync(tool, args, { encoding: 'utf8', maxBuffer: 1 << 28 });

function writeGraphPage(name, graph) {
  const json = path.join(work, name + '.json'), html = path.join(work, name + '.html');
  fs.writeFileSync(json, JSON.stringify(graph));
  runTool('render', json, '--type', 'html', '--output', html);
  return { json, html };
}

let context;
const problems = [];  // console errors and page errors of every page

async function open(file) {
  const page = await context.newPage();
  page.on('console', (message) => { if (message.type() === 'error') problems.push(`${file}: ${message.text()}`); });
  page.on('pageerror', (error) => problems.push(`${file}: ${error.message}`));
  await page.addInitScript(() => { window.alerts = []; window.alert = (text) => window.alerts.push(String(text)); });
  await page.goto(pathToFileURL(file).href);
  await page.waitForSelector('body[data-ready]');
  return page;
}

const pageData = (page) => page.evaluate(() => JSON.parse(document.getElementById('viewer-data').textContent));
const visibleNodes = (page) => page.locator('#nodes g.node:not(.hidden)').count();
const nodeNamed = (page, id) => page.locator('#nodes g.node').filter({
  has: page.locator('title', { hasText: new RegExp('^' + id.replace(/[.*+?^${}()|[\]\\]/g, '\\$&') + ' \\(') }) });

let samplePage, sampleData;

before(async () => {
  assert.ok(fs.existsSync(tool), `the tavreldi tool is missing: ${tool}`);
  runTool('demo', '--html', path.join(work, 'sample.html'));
  context = await chromium.launchPersistentContext(path.join(work, 'profile'), {
    executablePath: browserPath, headless: true, viewport: { width: 1280, height: 800 },
    args: ['--headless', '--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-background-networking',
      '--disable-component-update', '--disable-sync'],
  });
  samplePage = await open(path.join(work, 'sample.html'));
  sampleData = await pageData(samplePage);
});

after(async () => {
  await context?.close();
  fs.rmSync(work, { recursive: true, force: true });
});

test('the sample app page draws one node per registration', async () => {
  assert.equal(sampleData.nodes.length, 10);
  assert.equal(await samplePage.locator('#nodes g.node').count(), 10);
  assert.equal(await samplePage.locator('#edges path.edge').count(), sampleData.edges.length);
  // View models sit above use cases, use cases above repositories, and so on down to layer 0.
  const top = async (id) => (await nodeNamed(samplePage, id).boundingBox()).y;
  assert.ok(await top('UserViewModel') < await top('LoadUserUseCase'));
  assert.ok(await top('LoadUserUseCase') < await top('UserRepository'));
  assert.ok(await top('UserRepository') < await top('HttpClient'));
});

test('clicking a node shows its details, dependencies and dependents', async () => {
  await nodeNamed(samplePage, 'UserRepository').click();
  const details = samplePage.locator('#details');
  await details.locator('h2', { hasText: 'UserRepository' }).waitFor();
  const text = await details.innerText();
  for (const part of ['scoped', 'Repository', 'Dependencies (2)', 'HttpClient', 'Dependents (1)', 'LoadUserUseCase',
    'Sample figures (generated)', 'Measured by the container', 'Resolution count']) assert.ok(text.includes(part), part);
  // Declared dependencies count: Logger was cached when UserRepository was made, so only its
  // declaration gives that edge.
  assert.deepEqual(await details.locator('.dependencies li').allInnerTexts(), ['HttpClient', 'Logger']);
  assert.deepEqual(await details.locator('.dependents li').allInnerTexts(), ['LoadUserUseCase']);
  assert.ok(text.includes('Cache hits\t' + sampleData.measured.UserRepository.cacheHits), text);
  await details.getByRole('button', { name: 'HttpClient' }).click();
  await details.locator('h2', { hasText: 'HttpClient' }).waitFor();
  assert.deepEqual(await details.locator('.dependencies li').allInnerTexts(), ['Config', 'Logger']);
  await details.getByRole('button', { name: 'Show in graph' }).click();
  assert.equal(await samplePage.locator('#screen-graph').isVisible(), true);
  assert.equal(await nodeNamed(samplePage, 'HttpClient').evaluate((g) => g.classList.contains('selected')), true);
});

test('the search box highlights matches and hides the rest', async () => {
  await samplePage.click('#tabs button[data-screen=graph]');
  await samplePage.fill('#search', 'user');
  const expected = sampleData.nodes.filter((n) => n.id.toLowerCase().includes('user')).length;
  assert.equal(expected, 3);
  assert.equal(await visibleNodes(samplePage), expected);
  assert.equal(await samplePage.locator('#nodes g.node.match').count(), expected);
  assert.equal(await nodeNamed(samplePage, 'Logger').isVisible(), false);
  assert.equal(await samplePage.locator('#search-count').innerText(), `${expected} of 10 services match`);
  // Enter zooms to the matches: every match is then inside the drawing area.
  await samplePage.press('#search', 'Enter');
  const area = await samplePage.locator('#graph').boundingBox();
  for (const box of await Promise.all((await samplePage.locator('#nodes g.node.match').all()).map((g) => g.boundingBox()))) {
    assert.ok(box.x >= area.x && box.y >= area.y && box.x + box.width <= area.x + area.width &&
      box.y + box.height <= area.y + area.height, JSON.stringify({ box, area }));
  }
  await samplePage.fill('#search', '');
  assert.equal(await visibleNodes(samplePage), 10);
  assert.equal(await samplePage.locator('#nodes g.node.match').count(), 0);
});

test('each diagram tab shows its text, with a copy button', async () => {
  // The list itself (types, order, texts) is checked by ViewerPage_test.cpp; the graph read back from
  // the page data renders to the same Mermaid text.
  const saved = path.join(work, 'sample-graph.json');
  fs.writeFileSync(saved, JSON.stringify({ nodes: sampleData.nodes, edges: sampleData.edges, analysis: sampleData.analysis }));
  assert.equal(sampleData.diagrams[0].text, runTool('render', saved, '--type', 'mermaid'));
  await samplePage.click('#tabs button[data-screen=diagrams]');
  for (const diagram of sampleData.diagrams) {
    await samplePage.click(`#diagram-tabs button[data-diagram=${diagram.type}]`);
    const panel = samplePage.locator(`#diagram-panels section[data-diagram=${diagram.type}]`);
    assert.equal(await panel.isVisible(), true, diagram.type);
    assert.equal(await panel.locator('pre').evaluate((pre) => pre.textContent), diagram.text, diagram.type);
  }
  await samplePage.locator('#diagram-panels section[data-diagram=layered] button.copy').click();
  await samplePage.locator('#diagram-panels section[data-diagram=layered] [role=status]').filter({ hasText: /Cop/ }).waitFor();
});

test('the statistics, legend and dashboard screens explain themselves', async () => {
  await samplePage.click('#tabs button[data-screen=stats]');
  const stats = await samplePage.locator('#stats').innerText();
  for (const part of ['Testability', '/ 100', 'Performance', '/ 1', 'Testability is on a 0–100 scale', 'Critical Path 1',
    'No circular dependencies found. Great job!', 'Recommendations']) assert.ok(stats.includes(part), part);
  await samplePage.click('#tabs button[data-screen=legend]');
  const legend = await samplePage.locator('#legend').innerText();
  for (const part of ['singleton', '#e1f5fe', 'Circular dependency', 'ViewModel', 'Other']) assert.ok(legend.includes(part), part);
  await samplePage.click('#tabs button[data-screen=dashboard]');
  assert.ok((await samplePage.locator('#dashboard').innerText()).includes('No dashboard summary was given'));

  // The picture for the documentation: the graph with one service selected.
  await samplePage.click('#tabs button[data-screen=graph]');
  await nodeNamed(samplePage, 'UserRepository').click();
  await samplePage.click('#tabs button[data-screen=graph]');
  await samplePage.click('#fit');
  fs.mkdirSync(path.join(root, 'docs'), { recursive: true });
  await samplePage.screenshot({ path: path.join(root, 'docs/viewer.png') });
});

test('the dashboard screen sends the summary and shows the answer or the error', async () => {
  const received = [];
  const server = http.createServer((request, response) => {
    let body = '';
    request.on('data', (chunk) => { body += chunk; });
    request.on('end', () => {
      const cors = { 'Access-Control-Allow-Origin': '*', 'Access-Control-Allow-Methods': 'POST',
        'Access-Control-Allow-Headers': 'Content-Type', 'Access-Control-Allow-Private-Network': 'true' };
      if (request.method === 'OPTIONS') { response.writeHead(204, cors); response.end(); return; }
      received.push({ method: request.method, url: request.url, type: request.headers['content-type'], body });
      response.writeHead(201, { ...cors, 'Content-Type': 'application/json' });
      response.end('{"stored":true}');
    });
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const url = `http://127.0.0.1:${server.address().port}`;
  // The tool has no dashboard options, so the page gets them as renderViewerPage would write
  // them: in its data and in its content security policy.
  const summary = JSON.stringify({ nodes: ['</script>A'], edges: [] });
  const escaped = (text) => text.replace(/</g, '\\u003c').replace(/>/g, '\\u003e').replace(/&/g, '\\u0026');
  const original = fs.readFileSync(path.join(work, 'sample.html'), 'utf8');
  const patched = original.replace("connect-src 'none'", `connect-src ${url}`)
    .replace('"dashboard":{"summary":null,"url":null}', escaped(`"dashboard":${JSON.stringify({ summary, url: url + '/' })}`));
  assert.notEqual(patched, original);
  const file = path.join(work, 'dashboard.html');
  fs.writeFileSync(file, patched);
  const page = await open(file);
  await page.click('#tabs button[data-screen=dashboard]');
  assert.equal(JSON.parse(await page.locator('#dashboard-summary').textContent()).nodes[0], '</script>A');
  await page.getByRole('button', { name: 'Send to dashboard' }).click();
  await page.locator('#dashboard-result.ok').waitFor();
  assert.equal(await page.locator('#dashboard-result').textContent(), '201 Created\n{"stored":true}');
  assert.deepEqual(received, [{ method: 'POST', url: '/api/updateUserDashboard', type: 'application/json', body: summary }]);

  await new Promise((resolve) => server.close(resolve));
  await page.getByRole('button', { name: 'Send to dashboard' }).click();
  await page.locator('#dashboard-result.error').waitFor();
  assert.match(await page.locator('#dashboard-result').textContent(), /^Could not reach the dashboard: /);
  // The failed request is logged by the browser itself; it is expected here.
  problems.splice(0, problems.length, ...problems.filter((p) => !p.startsWith(file)));
  await page.close();
});

test('awkward names stay text and never become markup', async () => {
  const graph = awkwardGraph();
  const { json, html } = writeGraphPage('awkward', graph);
  const page = await open(html);
  assert.equal(await page.locator('#nodes g.node').count(), graph.nodes.length);
  assert.equal(await page.locator('#edges path.edge.circular').count(), 2);
  assert.equal(await page.locator('#edges text.cycle-mark').count(), 2);
  assert.deepEqual(await page.evaluate(() => ({ images: document.querySelectorAll('img').length,
    users: document.getElementsByTagName('user').length, scripts: document.scripts.length, alerts: window.alerts })),
  { images: 0, users: 0, scripts: 2, alerts: [] });
  assert.deepEqual((await pageData(page)).nodes.map((n) => n.id), graph.nodes.map((n) => n.id));

  const template = nodeNamed(page, AWKWARD.template);
  assert.equal(await template.locator('text').textContent(), AWKWARD.template);
  await template.click();
  const details = page.locator('#details');
  assert.equal(await details.locator('h2').textContent(), AWKWARD.template);
  const text = await details.innerText();
  for (const name of [AWKWARD.script, AWKWARD.cache, AWKWARD.quotes, '<b>bold?</b> & more']) assert.ok(text.includes(name), name);
  await page.click('#tabs button[data-screen=graph]');
  await page.fill('#search', '<user>');
  assert.equal(await visibleNodes(page), 1);
  await page.click('#tabs button[data-screen=diagrams]');
  const mermaid = await page.locator('#diagram-panels section[data-diagram=mermaid] pre').textContent();
  assert.equal(mermaid, runTool('render', json, '--type', 'mermaid'));
  await page.close();
});

test('a page of 1,000 services and 3,000 dependencies opens and answers (timed, not asserted)', async () => {
  const { html } = writeGraphPage('large', largeGraph());
  const size = fs.statSync(html).size;
  const started = Date.now();
  const page = await open(html);
  const ready = Date.now() - started;
  await page.locator('#nodes g.node').first().click();
  await page.locator('#details h2').waitFor();
  const interactive = Date.now() - started;
  const inPage = await page.evaluate(() => Math.round(performance.now()));
  assert.equal(await page.locator('#nodes g.node').count(), 1000);
  assert.equal(await page.locator('#edges path.edge').count(), 3000);
  console.log(`# large page (${(size / 1e6).toFixed(1)} MB): drawn ${ready} ms after navigation, ` +
    `first click answered at ${interactive} ms (page clock ${inPage} ms)`);
  await page.close();
});

test('no page logged an error', () => {
  assert.deepEqual(problems, []);
});
