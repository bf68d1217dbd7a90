// Parses the Mermaid flowchart on standard input with Mermaid's own parser and prints its nodes
// as JSON, {"nodes": [[id, label as shown], ...]}; prints Mermaid's message and exits with 1
// when Mermaid refuses the text. DOMPurify, which cleans label HTML and has no part in parsing,
// needs a browser's DOM: here it leaves texts as they are.
import DOMPurify from 'dompurify';
import fs from 'node:fs';

DOMPurify.addHook = () => {};
DOMPurify.sanitize = (text) => text;
const { default: mermaid } = await import('mermaid');
mermaid.initialize({ startOnLoad: false });

// Mermaid's parser keeps an entity such as "#quot;" or "#35;" in a label as a placeholder that
// becomes the HTML entity "&quot;" or "&#35;" when drawn, which the browser shows as '"' or '#'.
const named = { quot: '"', lt: '<', gt: '>', amp: '&' };
const shown = (label) =>
  label
    .replace(/\uFB02\xB0\xB0(\d+)\xB6\xDF/g, (_, code) => String.fromCodePoint(Number(code)))
    .replace(/\uFB02\xB0(\w+)\xB6\xDF/g, (placeholder, name) => named[name] ?? placeholder);

try {
  const { db } = await mermaid.mermaidAPI.getDiagramFromText(fs.readFileSync(0, 'utf8'));
  const nodes = [...db.getVertices().values()].map((vertex) => [vertex.id, shown(vertex.text)]);
  process.stdout.write(JSON.stringify({ nodes }));
} catch (error) {
  process.stdout.write(String(error?.message ?? error));
  process.exitCode = 1;
}
