// Boost's owning pointer under its short name.
#pragma once

#include <boost/move/unique_ptr.hpp>

namespace boost {
using movelib::unique_ptr;
}
