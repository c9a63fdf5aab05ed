// Writes the input files of examples/materials: `make_example_materials FOLDER`. Run it after a
// change of the examples (ExampleMaterials.cpp) or of what a material stores, and commit what it
// writes.

#include "app/ExampleMaterials.h"
#include "materials/MaterialXClient.h"

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_example_materials FOLDER\n";
        return 2;
    }
    try {
        tw::TMaterialXClient_Abstract::SetInstance(
            std::make_unique<tw::TMaterialXClientTarnwick>(tw::mxcgt3D));
        for (const std::string& path : tw::WriteExampleMaterials(argv[1]))
            std::cout << path << "\n";
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "make_example_materials: " << e.what() << "\n";
        return 1;
    }
}
