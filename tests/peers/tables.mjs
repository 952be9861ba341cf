// A service of tables: node tables.mjs. Prints "listening PORT"; takes any signature.
// Ends with 77 when dynalite isn't there (npm ci in this folder brings it).

const { default: dynalite } = await import("dynalite").catch(() => {
  console.log("dynalite is not installed");
  process.exit(77);
});

const server = dynalite({ createTableMs: 0 });
server.listen(0, "127.0.0.1", () => console.log(`listening ${server.address().port}`));
