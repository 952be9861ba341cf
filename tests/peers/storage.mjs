// A storage service with the bucket "bucket": node storage.mjs FOLDER. Prints "listening PORT"; takes any signature.
// Ends with 77 when s3rver isn't there (npm ci in this folder brings it).

const { default: S3rver } = await import("s3rver").catch(() => {
  console.log("s3rver is not installed");
  process.exit(77);
});

const server = new S3rver({
  address: "127.0.0.1",
  port: 0,
  silent: true,
  directory: process.argv[2],
  configureBuckets: [{ name: "bucket" }],
});
const address = await server.run();
console.log(`listening ${address.port}`);
