// Greets by name, where the server runs with --demo.
"use strict";

fetch("demo/private", { cache: "no-store" }).then(async (response) => {
  if (response.ok) document.getElementById("who").textContent = await response.text();
});
