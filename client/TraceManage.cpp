// The trace log.
