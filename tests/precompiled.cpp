// Holds the precompiled headers that all test programs share.
