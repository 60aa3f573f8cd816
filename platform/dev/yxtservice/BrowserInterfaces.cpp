// The browser service interfaces.
