// Keeps the test support library non-empty: the rest of it is header-only.
