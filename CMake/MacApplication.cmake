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

add_executable(velmoratix_daemon MACOSX_BUNDLE ${native_files} ${icons} ${texts})
set_target_properties(velmoratix_daemon PROPERTIES
  OUTPUT_NAME "Velmoratix Daemon"
  MACOSX_BUNDLE_INFO_PLIST "${CMAKE_BINARY_DIR}/Info.plist"
  # Where the daemon looks for the application that it lies in: four levels up.
  RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/Velmoratix.app/Contents/Library/LoginItems")
target_compile_options(velmoratix_daemon PRIVATE -fobjc-arc -Wno-deprecated-declarations -Wunguarded-availability)
target_link_libraries(velmoratix_daemon PRIVATE velmoratix_core
  "-framework AppKit" "-framework ApplicationServices" "-framework AudioToolbox" "-framework Carbon"
  "-framework ColorSync" "-framework CoreAudio" "-framework CoreFoundation" "-framework CoreGraphics"
  "-framework CoreServices" "-framework Foundation" "-framework IOKit")
# For one's own Mac; what is given to others is signed as docs/building-on-a-mac.md says.
add_custom_command(TARGET velmoratix_daemon POST_BUILD
  COMMAND codesign --force --sign - --options runtime
    --entitlements "${CMAKE_SOURCE_DIR}/Sources/Programs/Daemon/Daemon.entitlements"
    "$<TARGET_BUNDLE_DIR:velmoratix_daemon>"
  VERBATIM)
