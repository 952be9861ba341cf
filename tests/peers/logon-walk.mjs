// Walks a browser through a form logon: node logon-walk.mjs ROOT-URL PICTURE-FOLDER
//
// Expects the example site at ROOT-URL with /private.html protected and the account ada, password "open sesame". Ends
// with 0 and "walked" when everything was as it has to be, else with 1 and what was not; with 77 when there is no
// playwright-core (npm ci in this folder brings it).

import assert from "node:assert/strict";
import path from "node:path";

const { chromium } = await import("playwright-core").catch(() => {
  console.log("playwright-core is not installed");
  process.exit(77);
});

const [root, pictures] = process.argv.slice(2);
const limit = 60_000; // ms, for each step

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking"],
  timeout: limit,
});

try {
  const context = await browser.newContext({ viewport: { width: 900, height: 620 }, ignoreHTTPSErrors: true });
  const page = await context.newPage();
  page.setDefaultTimeout(limit);
  const failures = [];
  page.on("pageerror", (error) => failures.push(`script: ${error.message}`));

  const picture = (name) => page.screenshot({ path: path.join(pictures, `logon-${name}.png`) });
  const at = (target) => page.waitForURL(new URL(target, root).href, { timeout: limit });
  const tokens = async () => (await context.cookies(root)).filter((cookie) => cookie.name.startsWith("X-Auth-Token"));
  const logOn = async (name, password) => {
    await page.fill("input[name=userName]", name);
    await page.fill("input[name=password]", password);
    await page.click("form button");
  };

  // A stranger asks for the page and is sent to the logon page.
  const sent = [];
  page.on("response", (response) => sent.push(`${response.status()} ${response.statusText()}`));
  await page.goto(new URL("private.html", root).href);
  await at("logon.html");
  assert(sent.includes("302 Form Authentication Redirect"), sent.join(", "));
  const [requested] = await tokens();
  assert.equal(requested.value.length, 50);
  assert.equal(requested.sameSite, "Strict");
  assert.equal(requested.httpOnly, false);
  assert.equal(requested.expires, -1, "the cookie lives as long as the browser");
  assert.equal(requested.secure, root.startsWith("https:"));
  assert.equal(await page.isVisible("#error"), false);
  await picture("page");

  // A wrong password, told on the page; and a token of its own for the next try.
  await logOn("ada", "wrong");
  await page.waitForSelector("#error:visible", { timeout: limit });
  assert.equal(await page.textContent("#error"), "Invalid Username and/or Password");
  const [renewed] = await tokens();
  assert.notEqual(renewed.value, requested.value);
  await picture("wrong");

  // The right one, with a blank in it: back to the page that was asked for, with the same token.
  await logOn("ada", "open sesame");
  await at("private.html");
  assert.equal((await tokens())[0].value, renewed.value);
  await page.waitForFunction(() => document.getElementById("who").textContent.startsWith("Hello, ada."));
  await picture("private");

  // The logon page has nothing to say to who is logged on.
  await page.goto(new URL("logon.html", root).href);
  await at("private.html");

  // Log off; what the browser had opens nothing any more.
  await page.click("text=Log off");
  await at("logoff.html");
  assert.deepEqual(await tokens(), []);
  await picture("off");
  await context.addCookies([renewed]);
  await page.goto(new URL("private.html", root).href);
  await at("logon.html");
  assert.notEqual((await tokens())[0].value, renewed.value);

  // Without a token a visitor of the logon page begins at the page that wants the logon.
  await context.clearCookies();
  await page.goto(new URL("logon.html", root).href);
  await at("logon.html");
  await logOn("ada", "open sesame");
  await at("private.html");

  assert.deepEqual(failures, []);
  console.log("walked");
} catch (error) {
  console.log(error.message);
  process.exitCode = 1;
} finally {
  await browser.close();
}
