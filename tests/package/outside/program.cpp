/// A program of somebody else's that knows the library only by way of its own shared library.
int run_part();

int main() { return run_part(); }
