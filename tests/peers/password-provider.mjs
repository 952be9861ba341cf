// An OAuth 2 token endpoint for the password and refresh token grants, on the loopback: node password-provider.mjs
//
// Prints its root on a line when it is ready. POST /token gives tokens to the client "site", secret "hush", for the user
// ada, password "open sesame"; each lives 6 s with the scope "short", else an hour. GET /who answers who has sent the
// bearer token, by which grant it was got. 77 tells that @node-oauth/oauth2-server is not installed (npm ci in this
// folder brings it).

import { createServer } from "node:http";
import { once } from "node:events";

const { default: OAuth2Server } = await import("@node-oauth/oauth2-server").catch(() => {
  console.log("@node-oauth/oauth2-server is not installed");
  process.exit(77);
});

const tokens = [];
const model = {
  getClient: (id, secret) =>
    id === "site" && secret === "hush" && { id, grants: ["password", "refresh_token"], accessTokenLifetime: 3600 },
  getUser: (name, password) => name === "ada" && password === "open sesame" && { name },
  validateScope: (user, client, scope) => scope ?? ["all"],
  saveToken: (token, client, user) => {
    if (token.scope?.includes("short")) token.accessTokenExpiresAt = new Date(Date.now() + 5999);
    const saved = { ...token, client, user };
    tokens.push(saved);
    return saved;
  },
  getRefreshToken: (text) => tokens.find((token) => token.refreshToken === text && !token.revoked),
  revokeToken: (token) => (token.revoked = true),
  getAccessToken: (text) => tokens.find((token) => token.accessToken === text),
};
const provider = new OAuth2Server({ model });

async function answer(request, response) {
  let body = "";
  for await (const piece of request) body += piece;
  const asked = new OAuth2Server.Request({
    method: request.method,
    headers: request.headers,
    query: {},
    body: Object.fromEntries(new URLSearchParams(body)),
  });
  const given = new OAuth2Server.Response();
  try {
    if (request.url === "/token") {
      await provider.token(asked, given);
      given.status ??= 200;
    } else {
      const { user } = await provider.authenticate(asked, given);
      given.status = 200;
      given.body = { user: user.name, tokens: tokens.length };
    }
  } catch (error) {
    given.status = error.code;
    given.body = { error: error.name, error_description: error.message };
  }
  response.writeHead(given.status, { ...given.headers, "content-type": "application/json" });
  response.end(JSON.stringify(given.body));
}

const server = createServer(answer);
server.listen(0, "127.0.0.1");
await once(server, "listening");
console.log(`http://127.0.0.1:${server.address().port}`);
