// Positions in an element's HTML (its innerHTML, as the browser writes it) and positions in its
// DOM, both ways. Find and replace in the HTML searches the written form and then needs the
// nodes a match covers, to select it or to rewrite only the blocks it touches.

const VOID = new Set(['AREA', 'BASE', 'BR', 'COL', 'EMBED', 'HR', 'IMG', 'INPUT', 'LINK', 'META', 'SOURCE', 'TRACK', 'WBR']);
const RAW_TEXT = new Set(['STYLE', 'SCRIPT', 'XMP', 'IFRAME', 'NOEMBED', 'NOFRAMES', 'PLAINTEXT', 'NOSCRIPT']);

// The written length of one character of text: the serialiser escapes four of them.
function escapedCharLength(code) {
  if (code === 0x26) return 5;  // &amp;
  if (code === 0xa0) return 6;  // &nbsp;
  if (code === 0x3c || code === 0x3e) return 4;  // &lt; &gt;
  return 1;
}

function isRawText(node) { return node.parentNode && RAW_TEXT.has(node.parentNode.nodeName); }

function textLength(node, upTo = node.data.length) {
  if (isRawText(node)) return upTo;
  let length = 0;
  for (let i = 0; i < upTo; ++i) length += escapedCharLength(node.data.charCodeAt(i));
  return length;
}

function closeTagLength(element) { return VOID.has(element.nodeName) ? 0 : element.localName.length + 3; }

export function openTagLength(element) {
  return element.outerHTML.length - element.innerHTML.length - closeTagLength(element);
}

// The length of `node` as it is written inside its parent's innerHTML.
export function writtenLength(node) {
  switch (node.nodeType) {
    case Node.ELEMENT_NODE: return node.outerHTML.length;
    case Node.TEXT_NODE: return textLength(node);
    case Node.COMMENT_NODE: return node.data.length + 7;  // <!--...-->
    default: return 0;
  }
}

// The DOM position of offset `at` in `parent.innerHTML`. An offset inside a tag or an entity
// goes to the nearest position before it.
export function positionAt(parent, at) {
  let start = 0;
  let index = 0;
  for (let child = parent.firstChild; child; child = child.nextSibling, ++index) {
    const length = writtenLength(child);
    if (at < start + length) {
      const inner = at - start;
      if (child.nodeType === Node.TEXT_NODE) {
        let written = 0;
        let offset = 0;
        const raw = isRawText(child);
        while (offset < child.data.length) {
          const next = written + (raw ? 1 : escapedCharLength(child.data.charCodeAt(offset)));
          if (next > inner) break;
          written = next;
          ++offset;
        }
        return { node: child, offset };
      }
      if (child.nodeType === Node.ELEMENT_NODE) {
        const open = openTagLength(child);
        const content = child.innerHTML.length;
        if (inner < open) return { node: parent, offset: index };
        if (inner <= open + content) return positionAt(child, inner - open);
        return { node: parent, offset: index + 1 };
      }
      return { node: parent, offset: index };
    }
    start += length;
  }
  return { node: parent, offset: parent.childNodes.length };
}

// The offset in `root.innerHTML` of the DOM position (node, offset) inside `root`.
export function htmlOffsetOf(root, node, offset) {
  let total = 0;
  if (node.nodeType === Node.TEXT_NODE) {
    total = textLength(node, Math.min(offset, node.data.length));
  } else {
    for (let child = node.firstChild, i = 0; child && i < offset; child = child.nextSibling, ++i) total += writtenLength(child);
    if (node !== root && node.nodeType === Node.ELEMENT_NODE) total += openTagLength(node);
  }
  while (node !== root) {
    const parent = node.parentNode;
    if (!parent) return 0;
    for (let sibling = node.previousSibling; sibling; sibling = sibling.previousSibling) total += writtenLength(sibling);
    if (parent !== root) total += openTagLength(parent);
    node = parent;
  }
  return total;
}

// The children of `root` that the HTML stretch [start, end) touches: the first and the last,
// and where the first begins and the last ends in `root.innerHTML`. Null when there are none.
export function childrenCovering(root, start, end) {
  let at = 0;
  let first = null;
  let firstStart = 0;
  let last = null;
  for (let child = root.firstChild; child; child = child.nextSibling) {
    const length = writtenLength(child);
    const childEnd = at + length;
    if (!first && childEnd > start) { first = child; firstStart = at; }
    at = childEnd;
    if (first) {
      last = child;
      if (childEnd >= end) break;
    }
  }
  return first ? { first, last, start: firstStart, end: at } : null;
}
