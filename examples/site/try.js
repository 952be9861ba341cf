// Talks to the server that sent the page. Addresses are relative, so it works under any prefix.
"use strict";

const show = (id, text) => { document.getElementById(id + "-out").textContent = text; };

const statusLine = (response) => `${response.status} ${response.statusText}`.trim();

// --- Self-check: one request each, and what it has to bring ---------------------------------------

const checks = [
  ["A file with its type", async () => {
    const response = await fetch("zn.svg", { cache: "no-store" });
    expect(response.status === 200, statusLine(response));
    const type = response.headers.get("Content-Type");
    expect(type.startsWith("image/svg+xml"), type);
    return type;
  }],
  ["HEAD tells the length", async () => {
    const response = await fetch("files/ruler.txt", { method: "HEAD" });
    expect((await response.text()) === "", "a body came");
    const coding = response.headers.get("Content-Encoding");
    return response.headers.get("Content-Length") + " bytes" + (coding ? `, ${coding}` : "");
  }],
  ["A range of a file", async () => {
    const response = await fetch("files/ruler.txt", { headers: { Range: "bytes=128-191" } });
    expect(response.status === 206, statusLine(response));
    expect((await response.text()).startsWith("00000128 "), "other bytes came");
    return response.headers.get("Content-Range");
  }],
  ["Not sent twice", async () => {
    const first = await fetch("style.css", { method: "HEAD", cache: "no-store" });
    const tag = first.headers.get("ETag");
    const second = await fetch("style.css", { cache: "no-store", headers: { "If-None-Match": tag } });
    expect(second.status === 304, statusLine(second));
    return "304";
  }],
  ["A missing page is 404", async () => {
    const response = await fetch("not-here.html", { headers: { Accept: "application/json" } });
    expect(response.status === 404, statusLine(response));
    expect(typeof (await response.json()) === "string", "no JSON text");
    return "as JSON";
  }],
  ["Echo", async () => {
    const text = "a=1&b=\u00fc";
    const response = await fetch("demo/echo", { method: "POST", body: text, headers: { "Content-Type": "text/plain" } });
    expect((await response.text()) === text, "something else came back");
    return response.headers.get("Content-Type");
  }],
  ["The request as JSON", async () => {
    const request = await (await fetch("demo/request?check=1")).json();
    expect(request.method === "GET" && request.url.QueryString === "check=1", "other fields");
    return request.remoteAddress;
  }],
  ["A stream of 100,000 bytes", async () => {
    const bytes = await (await fetch("demo/stream?size=100000")).arrayBuffer();
    expect(bytes.byteLength === 100000, `${bytes.byteLength} bytes`);
    return "all there";
  }],
  ["An exception is 500", async () => {
    const response = await fetch("demo/fail");
    expect(response.status === 500, statusLine(response));
    return "500";
  }],
];

function expect(condition, what) {
  if (!condition) throw new Error(what);
}

async function runChecks() {
  const list = document.getElementById("checks");
  let good = 0;
  for (const [name, check] of checks) {
    const item = list.appendChild(document.createElement("li"));
    item.textContent = name;
    const note = item.appendChild(document.createElement("span"));
    note.className = "note";
    try {
      note.textContent = await check();
      item.className = "good";
      ++good;
    } catch (error) {
      note.textContent = error.message;
      item.className = "bad";
    }
  }
  const verdict = document.getElementById("verdict");
  const all = good === checks.length;
  verdict.textContent = `${good} of ${checks.length} checks passed` + (all ? "" : ": is the server running with --demo?");
  verdict.classList.add(all ? "good" : "bad");
}

// --- The panels -----------------------------------------------------------------------------------

function onSubmit(id, action) {
  document.getElementById(id).addEventListener("submit", async (event) => {
    event.preventDefault();
    const data = new FormData(event.target);
    if (event.submitter && event.submitter.name) data.set(event.submitter.name, event.submitter.value);
    try {
      await action(data);
    } catch (error) {
      show(id, String(error));
    }
  });
}

onSubmit("echo", async (data) => {
  const response = await fetch("demo/echo", { method: "POST", body: new URLSearchParams(data) });
  const body = await response.text();
  show("echo", `${statusLine(response)}\nContent-Type: ${response.headers.get("Content-Type")}\n\n${body}`);
});

onSubmit("range", async (data) => {
  const range = `bytes=${data.get("first")}-${data.get("last")}`;
  const response = await fetch("files/ruler.txt", { headers: { Range: range } });
  const body = await response.text();
  show("range", `Range: ${range}\n\n${statusLine(response)}\nContent-Range: ${response.headers.get("Content-Range")}\n\n${body}`);
});

onSubmit("request", async () => {
  document.cookie = "harbour=light; SameSite=Strict";
  const response = await fetch("demo/request?from=try&n=1");
  show("request", response.ok ? JSON.stringify(await response.json(), null, 2) : statusLine(response));
});

onSubmit("failures", async (data) => {
  const response = await fetch(data.get("path"), { headers: { Accept: data.get("accept") } });
  const body = await response.text();
  show("failures", `${statusLine(response)}\nContent-Type: ${response.headers.get("Content-Type")}\n\n${body}`);
});

let waiting = null;
onSubmit("wait", async (data) => {
  if (data.get("do") === "stop") {
    if (waiting) waiting.abort();
    return;
  }
  waiting = new AbortController();
  const started = performance.now();
  const elapsed = () => `${Math.round(performance.now() - started)} ms`;
  show("wait", "Waiting\u2026");
  try {
    const response = await fetch(`demo/wait?ms=${encodeURIComponent(data.get("ms"))}`, { signal: waiting.signal });
    show("wait", `${statusLine(response)} after ${elapsed()}\n${await response.text()}`);
  } catch (error) {
    show("wait", `Gave up after ${elapsed()}`);
  }
});

// The first answers stand there before anybody presses a button.
runChecks().then(() => {
  for (const id of ["echo", "range", "request", "failures"]) document.getElementById(id).requestSubmit();
});
