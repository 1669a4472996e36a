// Holds the precompiled headers that all libraries share.
