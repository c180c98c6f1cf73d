"""Runs the recipe as Conan 2 would: the modules below do what Conan's do, as far as the recipe needs them.

    conan_steps.py <folder of the recipe> <scratch folder> <compiler>

The package is in <scratch folder>/package; the program of test_package is built with it and run.
"""

import fnmatch
import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys
import types


class ConanFile:
    pass


class CMakeToolchain:
    def __init__(self, recipe):
        self.recipe = recipe
        self.cache_variables = {}

    def generate(self):
        self.recipe.cache_variables = self.cache_variables


class CMake:
    def __init__(self, recipe):
        self.recipe = recipe

    # Not optimised and without vector code, which takes less time.
    def configure(self):
        options = ["-D%s=%s" % (name, "ON" if value else "OFF")
                   for name, value in getattr(self.recipe, "cache_variables", {}).items()]
        run("cmake", "-G", "Ninja", "-S", self.recipe.source_folder, "-B", self.recipe.build_folder,
            "-DCMAKE_CXX_COMPILER=" + sys.argv[3], "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_UNITY_BUILD=ON",
            "-DCMAKE_CXX_FLAGS_RELEASE=-O0 -DNDEBUG", "-DQV_SIMD_LEVEL=0", *self.recipe.further_options, *options)

    def build(self):
        run("cmake", "--build", self.recipe.build_folder)

    def install(self):
        run("cmake", "--install", self.recipe.build_folder, "--prefix", self.recipe.package_folder)


def run(*command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    if result.returncode != 0:
        sys.exit("FAILED: %s\n%s" % (" ".join(command), result.stdout))
    return result.stdout


def copy(_recipe, pattern, source, target):
    for file in sorted(pathlib.Path(source).rglob("*")):
        name = file.relative_to(source).as_posix()
        if file.is_file() and fnmatch.fnmatch(name, pattern):
            (pathlib.Path(target) / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(file, pathlib.Path(target) / name)


def cmake_layout(recipe):
    recipe.cpp = types.SimpleNamespace(build=types.SimpleNamespace(bindir=recipe.build_folder))


def install_modules():
    modules = {
        "conan": {"ConanFile": ConanFile},
        "conan.tools": {},
        "conan.tools.build": {"check_min_cppstd": lambda recipe, standard: None, "can_run": lambda recipe: True},
        "conan.tools.cmake": {"CMake": CMake, "CMakeToolchain": CMakeToolchain, "cmake_layout": cmake_layout},
        "conan.tools.files": {"copy": copy},
    }
    for name, content in modules.items():
        module = types.ModuleType(name)
        module.__dict__.update(content)
        sys.modules[name] = module


def recipe_of(file, name, work):
    spec = importlib.util.spec_from_file_location(name, file)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    (recipe_class,) = [value for value in vars(module).values()
                       if isinstance(value, type) and issubclass(value, ConanFile) and value is not ConanFile]
    recipe = recipe_class()
    recipe.recipe_folder = str(file.parent)
    recipe.build_folder = str(work / name / "build")
    recipe.source_folder = recipe.export_sources_folder = str(work / name / "source")
    recipe.package_folder = str(work / "package")
    recipe.settings = types.SimpleNamespace(build_type="Release")
    recipe.options = types.SimpleNamespace(**getattr(recipe, "default_options", {}))
    recipe.further_options = []
    recipe.tested_reference_str = "quorvane"
    recipe.requires = lambda reference: None
    recipe.run = lambda command, env: run(command)
    recipe.cpp_info = types.SimpleNamespace(properties={}, defines=[])
    recipe.cpp_info.set_property = recipe.cpp_info.properties.__setitem__
    return recipe


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    work = pathlib.Path(sys.argv[2]).resolve()
    install_modules()

    recipe = recipe_of(folder / "conanfile.py", "recipe", work)
    os.makedirs(recipe.source_folder)
    recipe.export_sources()
    recipe.layout()
    recipe.validate()
    recipe.generate()
    recipe.build()
    recipe.package()
    recipe.package_info()
    package = work / "package"
    for place in recipe.cpp_info.includedirs:
        assert (package / place / "kr_string.h").is_file(), "no headers in " + place
    for library in recipe.cpp_info.libs:
        assert (package / "lib" / ("lib%s.a" % library)).is_file(), "no library " + library
    assert (package / "licenses/LICENSE").is_file(), "no licence"
    assert set(recipe.options.__dict__) == set(recipe.options_of_class()), "an option has no default"

    test = recipe_of(folder / "test_package/conanfile.py", "test_package", work)
    test.source_folder = test.recipe_folder
    test.further_options = ["-DCMAKE_PREFIX_PATH=" + str(package)]
    test.requirements()
    test.layout()
    test.build()
    test.test()
    print("conan: %s %s packaged and used" % (recipe.name, recipe.version))


ConanFile.options_of_class = lambda self: type(self).options
main()
