// Gives the precompiled headers a target to belong to.
