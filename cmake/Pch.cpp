// The one file that the shared precompiled header belongs to.
