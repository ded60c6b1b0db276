// What nearly every test includes; see tavix_add_test. The compiler reads it once for all test programs.
