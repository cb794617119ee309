// The one place where the network library is compiled.
#include "asio.h"

#include <boost/asio/impl/src.hpp>
#include <boost/asio/ssl/impl/src.hpp>
