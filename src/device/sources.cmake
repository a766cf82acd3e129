list(APPEND device_sources)
