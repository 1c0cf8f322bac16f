// Talking to the workshop server: requests carrying the page's secret, errors, downloads and
// the status stream (the server's state, polled while the workshop lives).

const secret = new URLSearchParams(location.search).get('s');
const listeners = new Set();
let timer = 0;
let failures = 0;
let ended = false;

export class ApiError extends Error {
  constructor(path, status) {
    super(`${path}: ${status}`);
    this.status = status;
  }
}

// Whether the workshop has ended (after Quit, or when the server stopped answering): from
// then on no request is sent.
export function hasEnded() { return ended; }

// A request to the server. Answers other than 2xx throw ApiError, except 422 (the server
// refused the content and said why through its messages).
export async function request(path, options = {}) {
  if (ended) throw new ApiError(path, 0);
  const headers = { ...(options.headers || {}) };
  if (secret) headers['X-Pagewright-Secret'] = secret;
  const response = await fetch(path, { credentials: 'same-origin', ...options, headers });
  if (!response.ok && response.status !== 422) throw new ApiError(path, response.status);
  return response;
}

export async function getJson(path) {
  return (await request(path)).json();
}

// POSTs `body` as JSON; the answer is the Response.
export function post(path, body) {
  return request(path, { method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body) });
}

// POSTs `body` as JSON; the answer parsed as JSON.
export async function postJson(path, body) {
  return (await post(path, body)).json();
}

// The file name of a Content-Disposition header: the UTF-8 form (filename*=UTF-8''...) first,
// then the plain one.
export function dispositionName(header) {
  const extended = /filename\*\s*=\s*UTF-8''([^;]+)/i.exec(header || '');
  if (extended) {
    try { return decodeURIComponent(extended[1].trim()); } catch { /* a broken escape: the plain name */ }
  }
  const plain = /filename\s*=\s*"([^"]*)"/i.exec(header || '');
  return plain ? plain[1] : '';
}

// Sends `body` to `path` and offers the file that comes back as a download.
export async function download(path, body, fallbackName) {
  const response = await post(path, body);
  if (!response.ok) return false;
  const blob = await response.blob();
  const link = document.createElement('a');
  link.href = URL.createObjectURL(blob);
  link.download = dispositionName(response.headers.get('Content-Disposition')) || fallbackName;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
  return true;
}

// The status stream: `listener(state)` hears every state the server reports; `listener(null)`
// hears that the workshop has ended.
export function onState(listener) { listeners.add(listener); }

function tell(state) {
  for (const listener of listeners) {
    try { listener(state); } catch (error) { console.error(error); }
  }
}

// Asks for the state now; the answer goes to the listeners.
export async function poll() {
  if (ended) return null;
  try {
    const state = await getJson('/api/state');
    failures = 0;
    tell(state);
    return state;
  } catch (error) {
    // A server that does not answer three polls in a row has ended.
    if (++failures >= 3) markEnded();
    return null;
  }
}

export function startPolling(interval = 700) {
  if (timer || ended) return;
  poll();
  timer = setInterval(poll, interval);
}

// Stops every request from now on and tells the listeners.
export function markEnded() {
  if (ended) return;
  ended = true;
  clearInterval(timer);
  timer = 0;
  tell(null);
}
