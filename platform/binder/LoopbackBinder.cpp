// The loopback binder runtime.
