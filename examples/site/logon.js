// The logon page. It works without this file too: a form is all that a logon needs.
"use strict";

// A failed logon leaves its reason in a cookie for five seconds.
const reason = document.cookie.split("; ").find((cookie) => cookie.startsWith("X-Auth-Error="));
if (reason) {
  const alert = document.getElementById("error");
  alert.textContent = reason.slice("X-Auth-Error=".length);
  alert.hidden = false;
  document.cookie = "X-Auth-Error=; Path=/; Max-Age=0";
}

// A form sends blanks as "+", which the server takes for what it is: a plus. With a blank in name or password this
// sends the fields with percent escapes instead, and goes where the answer leads.
const form = document.getElementById("logon");
form.addEventListener("submit", async (event) => {
  const fields = [...new FormData(form)];
  if (!fields.some(([, value]) => value.includes(" "))) return;
  event.preventDefault();
  const body = fields.map(([name, value]) => `${name}=${encodeURIComponent(value)}`).join("&");
  const headers = { "Content-Type": "application/x-www-form-urlencoded" };
  const response = await fetch(form.action, { method: "POST", headers, body });
  location.replace(response.url);
});
