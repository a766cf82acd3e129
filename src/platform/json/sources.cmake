list(APPEND morva_sources)
