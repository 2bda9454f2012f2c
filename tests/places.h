// Where the tests find things: in one object of its own, so that the suites are the same objects in
// every checkout.
#pragma once

#include <string>

namespace lumo::test {

std::string Docs();     ///< the folder of the documentation
std::string Samples();  ///< the folder of the samples
std::string Binary();   ///< the program lumo-import

}  // namespace lumo::test
