"""The recipe for Conan 2: builds the checkout that it lies in."""

import os

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class QuorvaneConan(ConanFile):
    name = "quorvane"
    version = "0.1.0"
    license = "MIT"
    description = "Text for real-time kernels: shared, copy-on-write strings, views and their operations"
    topics = ("string", "text", "copy-on-write", "real-time")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False], "asserts": [True, False], "mem_tracking": [True, False]}
    default_options = {"shared": False, "fPIC": True, "asserts": True, "mem_tracking": False}
    implements = ["auto_shared_fpic"]

    def export_sources(self):
        checkout = os.path.join(self.recipe_folder, os.pardir, os.pardir)
        for pattern in ("CMakeLists.txt", "LICENSE", "Runtime/*", "cmake/*", "debug/*"):
            copy(self, pattern, checkout, self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def validate(self):
        check_min_cppstd(self, 17)

    def generate(self):
        toolchain = CMakeToolchain(self)
        for name in ("QV_BUILD_TESTS", "QV_BUILD_EXAMPLES", "QV_BUILD_BENCHMARKS"):
            toolchain.cache_variables[name] = False
        toolchain.cache_variables["QV_INSTALL"] = True
        toolchain.cache_variables["QV_ASSERTS"] = bool(self.options.asserts)
        toolchain.cache_variables["QV_MEM_TRACKING"] = bool(self.options.mem_tracking)
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "Quorvane")
        self.cpp_info.set_property("cmake_target_name", "Quorvane::qv_kernel")
        self.cpp_info.set_property("pkg_config_name", "quorvane")
        self.cpp_info.includedirs = [os.path.join("include", "quorvane")]
        self.cpp_info.libs = ["qv_kerneld" if self.settings.build_type == "Debug" else "qv_kernel"]
        if not self.options.asserts:
            self.cpp_info.defines.append("QV_ASSERTS=0")
        if self.options.mem_tracking:
            self.cpp_info.defines.append("QV_MEM_TRACKING=1")
        if self.options.shared:
            self.cpp_info.defines.append("QV_SHARED=1")
