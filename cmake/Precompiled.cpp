// A target needs a source before it can have a precompiled header.
