// The TV-service interface.
