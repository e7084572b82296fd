#include "Shared/CheckedRelease.h"

#include "Shared/Log.h"

namespace vlm {

namespace {

std::string_view withoutFolders(std::string_view path) { return path.substr(path.find_last_of("/\\") + 1); }

}  // namespace

void Common_CheckedRelease(CountedObject* object, std::string_view variable, const char* file, std::uint32_t line) {
  const std::string_view fileName = withoutFolders(file);
  if (object == nullptr) {
    VLMLog(" Velmoratix -- NULL CFRelease(%s) : file %s, line %u:\n", variable, fileName, line);
    return;
  }
  if (object->retainCount() < 1) {
    VLMLog(" Velmoratix -- Unretained CFObject %s : count %ld : file %s, line %u:\n", variable, object->retainCount(),
           fileName, line);
  }
  object->release();
}

}  // namespace vlm
