// Profile (INI) files.
