list(APPEND serial_sources)
