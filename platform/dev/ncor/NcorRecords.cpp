// The browser-side data records.
