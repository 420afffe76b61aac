"""Recipe for Conan 2: conan create packaging/conan [-o shared=True]"""

import os

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class TeskaShared(ConanFile):
    name = "teskashared"
    version = "1.0.0"
    description = "Building blocks for colour-management, printing and imaging applications"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False]}
    default_options = {"shared": False}
    package_type = "library"

    def export_sources(self):
        root = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "COPYRIGHT", "README.md", "CHANGELOG.md", "cmake/*", "companions/*",
                        "docs/*", "examples/tasks/*", "include/*", "Private/*", "tests/core/*", "tests/colour/*",
                        "tests/curves/*", "tests/files/*", "tests/geometry/*", "tests/image/*", "tests/numerics/*",
                        "tests/text/*"):
            copy(self, pattern, root, self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        # The project's own package files are what find_package reads.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "TESKAShared")]
        self.cpp_info.libs = ["TESKAShared", "ZUKShared", "LOPRAShared", "WEMShared"]
        self.cpp_info.includedirs = ["include"]
        if not self.options.shared:
            self.cpp_info.defines = ["TESKA_STATIC", "WEM_STATIC", "LOPRA_STATIC", "ZUK_STATIC"]
            self.cpp_info.system_libs = ["stdc++", "m"]
