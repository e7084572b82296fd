#include <filesystem>

#include "Simulator/Mac/Bookmark.h"
#include "Tests/Contracts/PortsUnderTest.h"
#include "Tests/Support/TestProcess.h"

namespace vlm::contracts {

struct PortsUnderTest::Side {
  sim::TestProcess process;
};

PortsUnderTest::PortsUnderTest() : side_(std::make_unique<Side>()) { std::filesystem::create_directory(scratch("")); }
PortsUnderTest::~PortsUnderTest() = default;
std::string PortsUnderTest::scratch(const std::string& name) const {
  return side_->process.mac().homeFolder() + "/Contracts/" + name;
}
void PortsUnderTest::runLoopFor(double seconds) { side_->process.mac().advance(seconds); }
bool PortsUnderTest::mayChangeDisplays() { return true; }
void PortsUnderTest::cancel(CGDisplayConfigRef config) {
  // All changes or none: one that is refused takes the others with it.
  os().quartz.CGSConfigureDisplayMode(config, kCGNullDirectDisplay, 0);
  EXPECT_NE(os().quartz.CGCompleteDisplayConfiguration(config, kCGConfigurePermanently), kCGErrorSuccess);
}
plist::Data PortsUnderTest::bookmarkOf(const std::string& path) { return sim::bookmarkOf(path).value(); }
std::size_t PortsUnderTest::heldReferences(io_service_t /*object*/) const {
  return side_->process.session().heldObjects();
}

}  // namespace vlm::contracts
