// Takes a browser through the pages of identity-provider.mjs: node browse.mjs USER START END
//
// Opens START, logs USER on, agrees to what is asked, and waits until the browser stands at a URL that begins with END.
// Then it prints the text of the page, and the reason for every page that was refused. Ends with 0 when it got there,
// else with 1; with 77 when there is no playwright-core (npm ci in this folder brings it).

const { chromium } = await import("playwright-core").catch(() => {
  console.log("playwright-core is not installed");
  process.exit(77);
});

const [user, start, end] = process.argv.slice(2);
const limit = 60_000; // ms, for each step

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM ?? "/usr/bin/chromium",
  args: ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking"],
  timeout: limit,
});

try {
  const context = await browser.newContext({ ignoreHTTPSErrors: true });
  const page = await context.newPage();
  page.setDefaultTimeout(limit);
  page.on("response", (response) => {
    if (response.status() >= 400 && !response.url().endsWith("favicon.ico")) {
      console.log(`${response.status()} ${response.request().method()} ${response.url().split("?")[0]}`);
    }
  });
  // A page that closes itself is the end of its way as well.
  const closed = page.waitForEvent("close", { timeout: 3 * limit }).then(() => undefined, () => undefined);

  const there = Promise.race([page.waitForURL((url) => url.href.startsWith(end), { timeout: 2 * limit }).then(() => undefined), closed]);
  there.catch(() => undefined);
  await page.goto(start);
  // Or there at once: the provider has refused.
  const form = await Promise.race([page.waitForSelector("input[name=login]"), there]);
  if (form) {
    await page.fill("input[name=login]", user);
    await page.fill("input[name=password]", "any");
    await page.click("button[type=submit]");
    await page.click("button:has-text('Continue')");
  }
  await there;
  if (!page.isClosed()) {
    await page.waitForLoadState();
    console.log(await page.textContent("body"));
  }
} catch (error) {
  console.log(error.message);
  for (const page of browser.contexts().flatMap((context) => context.pages())) {
    console.log(page.url(), await page.textContent("body").catch(() => ""));
  }
  process.exitCode = 1;
} finally {
  await browser.close();
}
