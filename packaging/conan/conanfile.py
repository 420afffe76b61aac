"""Recipe for Conan 2, which takes the sources from the checkout around it: conan create packaging/conan

The owner has chosen no licence, so the recipe names none; COPYRIGHT says what holds until then.
"""

import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load


class TeskaSharedRecipe(ConanFile):
    name = "teskashared"
    description = "Building blocks for colour-management, printing and imaging applications"
    topics = ("colour", "colour-management", "printing", "imaging")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False]}
    default_options = {"shared": False}

    def set_version(self):
        header = load(self, os.path.join(self.recipe_folder, "..", "..", "include", "teska_version.h"))
        self.version = re.search(r'#define TESKA_VERSION "(.*)"', header).group(1)

    def export_sources(self):
        # The tests are not built, but the map of the modules checks that each module has its own.
        checkout = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "COPYRIGHT", "README.md", "CHANGELOG.md", "cmake/*", "companions/*", "docs/*",
                        "examples/tasks/*", "include/*", "Private/*", "tests/*.cpp"):
            copy(self, pattern, checkout, self.export_sources_folder)

    def validate(self):
        check_min_cppstd(self, 20)
        if str(self.settings.compiler) not in ("gcc", "clang"):
            raise ConanInvalidConfiguration("TESKAShared is built by g++, clang or MinGW; programs may use others")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        # BUILD_SHARED_LIBS comes from the option `shared`.
        CMakeToolchain(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "COPYRIGHT", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        # The package's own CMake files are what find_package reads: they know which libraries need which.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "TESKAShared")]
        # For other build systems.
        self.cpp_info.set_property("pkg_config_name", "TESKAShared")
        self.cpp_info.libs = ["TESKAShared", "ZUKShared", "LOPRAShared", "WEMShared"]
        if not self.options.shared:
            self.cpp_info.defines = ["TESKA_STATIC", "WEM_STATIC", "LOPRA_STATIC", "ZUK_STATIC"]
            if self.settings.os != "Windows":
                self.cpp_info.system_libs = ["stdc++", "m"]
