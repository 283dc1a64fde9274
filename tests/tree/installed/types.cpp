// Prints the names of all registered types. It refers to none of them: a linker that takes only
// what is referred to would leave them out.
#include <Mox/Type.h>

#include <iostream>

int main() {
    for (auto const* type : Mox::TypeRegistry::types()) {
        std::cout << type->name() << '\n';
    }
}
