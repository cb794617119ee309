// Nothing but the precompiled header.
