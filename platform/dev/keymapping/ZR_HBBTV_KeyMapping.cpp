// The key mapping.
