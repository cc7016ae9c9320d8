/// Memory pools without locks: the process never has a second thread, so that our lock takes no
/// locked bus, and the boost pool has none.
#include "pools.h"

BENCHMARK(pair<kr_pool>)->Name("alone_kr");
BENCHMARK(pair<boost_pool<no_mutex>>)->Name("alone_boost");
