// Placeholder; filled by the subsystem's tests.
