#error "a header of the program, where one of the library is meant"
