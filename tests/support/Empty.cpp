// Keeps the support library non-empty before helpers are added.
