// Checks signatures: node signature-check.mjs [KEYFILE CERTFILE]; with files over https.
//
// Rebuilds each request it gets and signs it again with @smithy/signature-v4 and the account below. The same signature
// gets 200 and "signed", another one 403. Prints "listening PORT". CLOCK_OFFSET: seconds that its clock is ahead.
// Ends with 77 when the packages aren't there (npm ci in this folder brings them).

import fs from "node:fs";
import http from "node:http";
import https from "node:https";

let Sha256, SignatureV4, HttpRequest;
try {
  ({ Sha256 } = await import("@aws-crypto/sha256-js"));
  ({ SignatureV4 } = await import("@smithy/signature-v4"));
  ({ HttpRequest } = await import("@smithy/protocol-http"));
} catch {
  console.log("the packages for signatures are not installed");
  process.exit(77);
}

const credentials = { accessKeyId: "AKIDPEER", secretAccessKey: "peer/secret+key", sessionToken: undefined };
const offset = Number(process.env.CLOCK_OFFSET ?? 0) * 1000;
const limit = 15 * 60 * 1000;

const dateOf = (text) => new Date(text.replace(/^(....)(..)(..)T(..)(..)(..)Z$/, "$1-$2-$3T$4:$5:$6Z"));

function signerFor(scope, token) {
  const [, , region, service] = scope;
  return new SignatureV4({
    credentials: { ...credentials, sessionToken: token },
    region,
    service,
    sha256: Sha256,
    uriEscapePath: service !== "s3",
    applyChecksum: false,
  });
}

function rebuilt(request, url, body, names) {
  const headers = Object.fromEntries(names.map((name) => [name, request.headers[name]]));
  const query = {};
  for (const [name, value] of url.searchParams) query[name] = name in query ? [query[name], value].flat() : value;
  // The path as it came: the signer encodes it once more for services that want that.
  const path = request.url.split("?")[0];
  return new HttpRequest({ method: request.method, protocol: url.protocol, hostname: url.hostname, path, query, headers, body });
}

async function bySignedFields(request, url, body) {
  const field = /^AWS4-HMAC-SHA256 Credential=([^,]+), SignedHeaders=([^,]+), Signature=([0-9a-f]{64})$/.exec(request.headers.authorization);
  if (!field) return "AuthorizationHeaderMalformed";
  const date = request.headers["x-amz-date"];
  if (Math.abs(dateOf(date) - Date.now() - offset) > limit) return "RequestTimeTooSkewed";
  const names = field[2].split(";");
  const token = names.includes("x-amz-security-token") ? request.headers["x-amz-security-token"] : undefined;
  const again = await signerFor(field[1].split("/"), token).sign(rebuilt(request, url, body, names), { signingDate: dateOf(date) });
  return again.headers.authorization === request.headers.authorization ? "" : "SignatureDoesNotMatch";
}

async function bySignedQuery(request, url) {
  const taken = Object.fromEntries([...url.searchParams].filter(([name]) => name.startsWith("X-Amz-")));
  for (const name of Object.keys(taken)) url.searchParams.delete(name);
  const names = taken["X-Amz-SignedHeaders"].split(";");
  const plain = rebuilt(request, url, undefined, names);
  plain.headers["x-amz-content-sha256"] = "UNSIGNED-PAYLOAD";
  const again = await signerFor(taken["X-Amz-Credential"].split("/"), taken["X-Amz-Security-Token"]).presign(plain, {
    signingDate: dateOf(taken["X-Amz-Date"]),
    expiresIn: Number(taken["X-Amz-Expires"]),
    unhoistableHeaders: new Set(["x-amz-content-sha256"]),
    unsignableHeaders: new Set(["x-amz-content-sha256"]),
  });
  return again.query["X-Amz-Signature"] === taken["X-Amz-Signature"] ? "" : "SignatureDoesNotMatch";
}

async function answer(request, response) {
  const parts = [];
  for await (const part of request) parts.push(part);
  const url = new URL(request.url, `http://${request.headers.host}`);
  const check = url.searchParams.has("X-Amz-Signature") ? bySignedQuery : bySignedFields;
  const code = await check(request, url, Buffer.concat(parts)).catch((error) => String(error));
  response.writeHead(code ? 403 : 200);
  response.end(code ? `<Error><Code>${code}</Code></Error>` : "signed");
}

const [key, cert] = process.argv.slice(2);
const server = key
  ? https.createServer({ key: fs.readFileSync(key), cert: fs.readFileSync(cert) }, answer)
  : http.createServer(answer);
server.listen(0, "127.0.0.1", () => console.log(`listening ${server.address().port}`));
