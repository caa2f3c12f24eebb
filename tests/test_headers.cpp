// Empty: the program that the tests' precompiled headers belong to. GoogleTest supplies main().
