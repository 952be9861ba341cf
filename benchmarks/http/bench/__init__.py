"""The HTTP server comparison: benchmarks/http/run."""
