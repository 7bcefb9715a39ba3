# Recipe for Conan 2 beside the sources that it builds: conan create packaging/conan -o "&:tool=True"
import os

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, rm, rmdir
from conan.tools.gnu import PkgConfigDeps

required_conan_version = ">=2.0"


class QLXClosedCaptionsUtilitiesConan(ConanFile):
    name = "qlxclosedcaptionsutilities"
    version = "0.2.0"
    description = "Captions, subtitles and ancillary data for broadcast video software"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {
        "shared": [True, False],
        "fPIC": [True, False],
        "tool": [True, False],
        "png": [True, False],
        "ffmpeg": [True, False],
    }
    default_options = {"shared": False, "fPIC": True, "tool": False, "png": True, "ffmpeg": False}

    def export_sources(self):
        root = os.path.join(self.recipe_folder, "..", "..")
        for pattern in (
            "CMakeLists.txt",
            "CHANGELOG.md",
            "cmake/*",
            "docs/*",
            "include/*",
            "packaging/debian/*",
            "src/*",
            "streams/*",
            "tools/*",
        ):
            copy(self, pattern, src=root, dst=self.export_sources_folder)

    def configure(self):
        # The objects of both libraries are always position-independent.
        self.options.rm_safe("fPIC")
        if not self.options.tool:
            self.options.rm_safe("png")

    def layout(self):
        cmake_layout(self)

    def requirements(self):
        # Needed to build them alone: whoever links the libraries needs none.
        private = {"headers": False, "libs": False, "visible": False}
        self.requires("nlohmann_json/3.11.3", **{**private, "headers": True})
        # The shared library has it inside; whoever links the static one needs its archive, and no header.
        self.requires("pugixml/[>=1.10 <2]", visible=not self.options.shared)
        # Of the second library's module alone, which is loaded at run time.
        if self.options.ffmpeg:
            self.requires("ffmpeg/[>=5 <7]", visible=False)
        # Of the tool alone: whoever links the library needs none of them.
        if self.options.tool:
            self.requires("cli11/2.3.2", **{**private, "headers": True})
            if self.options.png:
                self.requires("libpng/[>=1.6 <2]", visible=False)

    def validate(self):
        check_min_cppstd(self, 20)

    def generate(self):
        CMakeDeps(self).generate()
        # FFmpeg's libraries are looked for with pkg-config.
        PkgConfigDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["QLX_BUILD_TESTS"] = False
        toolchain.cache_variables["QLX_BUILD_TOOL"] = bool(self.options.tool)
        toolchain.cache_variables["QLX_INSTALL"] = True
        toolchain.cache_variables["QLX_STREAMS_FFMPEG"] = bool(self.options.ffmpeg)
        toolchain.cache_variables["QLX_TOOL_PNG"] = bool(self.options.get_safe("png"))
        toolchain.cache_variables["QLX_TOOL_UCHARDET"] = False
        toolchain.cache_variables["QLX_TOOL_ZVBI"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(
            self,
            "copyright",
            src=os.path.join(self.source_folder, "packaging", "debian"),
            dst=os.path.join(self.package_folder, "licenses"),
        )
        CMake(self).install()
        # Both forms of the libraries are made; a package has the one that was asked for. Conan writes the files for
        # CMake and pkg-config itself.
        libraries = os.path.join(self.package_folder, "lib")
        for pattern in ("*.a",) if self.options.shared else ("*.so*", "*.dylib"):
            rm(self, pattern, libraries)
        rmdir(self, os.path.join(libraries, "cmake"))
        rmdir(self, os.path.join(libraries, "pkgconfig"))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "QLXClosedCaptionsUtilities")
        core = self.cpp_info.components["core"]
        core.set_property("cmake_target_name", "QLXClosedCaptionsUtilities::QLXClosedCaptionsUtilities")
        core.set_property("pkg_config_name", "QLXClosedCaptionsUtilities")
        core.libs = ["QLXClosedCaptionsUtilities"]
        streams = self.cpp_info.components["streams"]
        streams.set_property("cmake_target_name", "QLXClosedCaptionsUtilities::Streams")
        streams.set_property("pkg_config_name", "QLXClosedCaptionsUtilitiesStreams")
        streams.libs = ["QLXClosedCaptionsUtilitiesStreams"]
        streams.requires = ["core"]
        if not self.options.shared:
            core.defines = ["QLX_STATIC_DEFINE"]
            streams.defines = ["QLX_STREAMS_STATIC_DEFINE"]
            streams.requires += ["pugixml::pugixml"]
        if self.settings.os == "Linux":
            core.system_libs = ["pthread"]
            streams.system_libs = ["dl"]
