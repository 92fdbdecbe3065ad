# No sources yet.
