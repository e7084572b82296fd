# The daemon as a macOS application, in the place where it lies inside of the control application.

enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

file(GLOB_RECURSE native_files CONFIGURE_DEPENDS
  "${CMAKE_SOURCE_DIR}/Sources/Platform/MacOS/*.mm" "${CMAKE_SOURCE_DIR}/Sources/Programs/Daemon/*.mm")

set(icon_folder "${CMAKE_BINARY_DIR}/Icons")
set(icons Velmoratix.icns imageBlue.png imageBlue@2x.png imageGray.png imageGray@2x.png)
list(TRANSFORM icons PREPEND "${icon_folder}/")
add_custom_command(OUTPUT ${icons}
  COMMAND Python3::Interpreter "${CMAKE_SOURCE_DIR}/scripts/make-icons.py" "${icon_folder}"
  DEPENDS "${CMAKE_SOURCE_DIR}/scripts/make-icons.py" VERBATIM)
set_source_files_properties(${icons} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)

file(GLOB texts CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/Resources/*.lproj/*.strings")
foreach(table IN LISTS texts)
  cmake_path(GET table PARENT_PATH folder)
  cmake_path(GET folder FILENAME language)
  set_source_files_properties("${table}" PROPERTIES MACOSX_PACKAGE_LOCATION "Resources/${language}")
endforeach()

configure_file("${CMAKE_SOURCE_DIR}/Sources/Programs/Daemon/Info.plist.in" "${CMAKE_BINARY_DIR}/Info.plist" @ONLY)

# scripts/cross-build-macos.sh names the same ones.
set(frameworks "-framework AppKit" "-framework ApplicationServices" "-framework AudioToolbox" "-framework Carbon"
  "-framework ColorSync" "-framework CoreAudio" "-framework CoreFoundation" "-framework CoreGraphics"
  "-framework CoreServices" "-framework Foundation" "-framework IOKit")

add_executable(velmoratix_daemon MACOSX_BUNDLE ${native_files} ${icons} ${texts})
set_target_properties(velmoratix_daemon PROPERTIES
  OUTPUT_NAME "Velmoratix Daemon"
  MACOSX_BUNDLE_INFO_PLIST "${CMAKE_BINARY_DIR}/Info.plist"
  # Where the daemon looks for the application that it lies in: four levels up.
  RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/Velmoratix.app/Contents/Library/LoginItems")
target_compile_options(velmoratix_daemon PRIVATE -fobjc-arc -Wno-deprecated-declarations -Wunguarded-availability)
target_link_libraries(velmoratix_daemon PRIVATE velmoratix_core ${frameworks})
# For one's own Mac; what is given to others is signed as docs/building-on-a-mac.md says. The entitlements let it send
# Apple events, which the hardened runtime forbids otherwise; no comment may stand in that file, because the system's own
# reader of it knows none.
add_custom_command(TARGET velmoratix_daemon POST_BUILD
  COMMAND codesign --force --sign - --options runtime
    --entitlements "${CMAKE_SOURCE_DIR}/Sources/Programs/Daemon/Daemon.entitlements"
    "$<TARGET_BUNDLE_DIR:velmoratix_daemon>"
  VERBATIM)

# What the ports promise, tested on this Mac; the same tests run against the simulated one elsewhere.
option(VELMORATIX_CONTRACTS "Build the contract tests of the native ports (needs GoogleTest)" OFF)
if(VELMORATIX_CONTRACTS)
  find_package(GTest REQUIRED)
  enable_testing()
  file(GLOB contract_files CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/Tests/Contracts/*.cpp")
  list(REMOVE_ITEM contract_files "${CMAKE_SOURCE_DIR}/Tests/Contracts/SimulatedPorts.cpp")
  file(GLOB adapter_files CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/Sources/Platform/MacOS/*.mm")
  add_executable(velmoratix_contracts ${contract_files} ${adapter_files}
    "${CMAKE_SOURCE_DIR}/Tests/Contracts/MacOS/NativePorts.mm")
  # An installed GoogleTest is mostly for one processor.
  set_target_properties(velmoratix_contracts PROPERTIES OSX_ARCHITECTURES "${CMAKE_HOST_SYSTEM_PROCESSOR}")
  target_compile_options(velmoratix_contracts PRIVATE
    $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc> -Wno-deprecated-declarations -Wunguarded-availability)
  target_link_libraries(velmoratix_contracts PRIVATE velmoratix_core GTest::gtest_main ${frameworks})
  # One test: they share a hot key and a domain of the preferences.
  add_test(NAME contracts COMMAND velmoratix_contracts)
endif()
