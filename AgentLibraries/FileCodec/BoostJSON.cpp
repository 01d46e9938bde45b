// Compiles the header-only Boost.JSON, once.
#include <boost/json/src.hpp>
