// An OpenID Connect provider on the loopback: node identity-provider.mjs SETTINGS
//
// SETTINGS is JSON: {"pkce": false, "https": {"key": PEM, "cert": PEM}, "clients": [{"id", "secret", "redirect",
// "types": ["code"], "grants": ["authorization_code"]}]}. Prints its issuer on a line when it is ready. Its accounts are
// ada (with a role), bob and eve (without), any password; 77 tells that oidc-provider is not installed (npm ci in this
// folder brings it).

import { createServer } from "node:http";
import { createServer as createSecureServer } from "node:https";
import { once } from "node:events";

const { default: Provider } = await import("oidc-provider").catch(() => {
  console.log("oidc-provider is not installed");
  process.exit(77);
});

const settings = JSON.parse(process.argv[2]);
const accounts = {
  ada: { email: "ada@example.com", name: "Ada", roles: ["Member"] },
  bob: { email: "bob@example.com", name: "Bob" },
  eve: { email: "eve@example.com", name: "Eve" },
};

const server = settings.https ? createSecureServer(settings.https) : createServer();
server.listen(0, "127.0.0.1");
await once(server, "listening");
const issuer = `${settings.https ? "https" : "http"}://127.0.0.1:${server.address().port}`;

const provider = new Provider(issuer, {
  clients: settings.clients.map((client) => ({
    client_id: client.id,
    client_secret: client.secret,
    // Only a native one may have its redirect address on the loopback by http, and not there by https.
    application_type: client.redirect?.startsWith("https:") ? "web" : "native",
    token_endpoint_auth_method: client.secret ? "client_secret_post" : "none",
    redirect_uris: client.redirect ? [client.redirect] : [],
    response_types: client.types ?? [],
    grant_types: client.grants,
  })),
  responseTypes: ["code", "id_token", "id_token token"],
  claims: { openid: ["sub", "name", "email", "roles"] },
  conformIdTokenClaims: false, // the name is wanted in the id token of the code flow too
  pkce: { required: () => settings.pkce === true },
  features: { clientCredentials: { enabled: true }, devInteractions: { enabled: true } },
  findAccount: (context, id) => accounts[id] && { accountId: id, claims: () => ({ sub: id, ...accounts[id] }) },
  cookies: { keys: ["of this test"] },
});

// It is no provider for plain OAuth: it gives an access token from the authorization page only beside an id token,
// which must have a nonce.
provider.use(async (context, next) => {
  if (context.path === "/auth" && context.query.response_type === "token") {
    context.query = { ...context.query, response_type: "id_token token", nonce: "of this test" };
  }
  await next();
});
provider.on("server_error", (context, error) => console.error(error));
provider.on("authorization.error", (context, error) => console.error(error.message, error.error_description));
provider.on("grant.error", (context, error) => console.error(error.message, error.error_description));

server.on("request", provider.callback());
console.log(issuer);
