// Only there to make the precompiled headers of the tests, which CMake needs a target for.
