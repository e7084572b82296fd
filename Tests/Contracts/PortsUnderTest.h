#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Platform/Process.h"
#include "Platform/PropertyList.h"
#include "Platform/Quartz.h"

/// The contracts: what a port promises, held against the simulated Mac and against a real one. The tests know `os()`
/// and this header alone. On a real Mac they change nothing that its user sees.
namespace vlm::contracts {

/// A test as the program of a process, which is current while it runs; one file a side has the functions.
class PortsUnderTest : public testing::Test {
 protected:
  PortsUnderTest();
  ~PortsUnderTest() override;
  /// A place in a folder that is the test's own, empty at first and gone after it.
  std::string scratch(const std::string& name) const;
  void runLoopFor(double seconds);
  /// Whether transactions may be completed that move displays.
  static bool mayChangeDisplays();
  /// Gives up an open transaction. The daemon never does, so the port cannot.
  static void cancel(CGDisplayConfigRef config);
  /// A bookmark of a file that is there. The daemon only reads what others made.
  static plist::Data bookmarkOf(const std::string& path);
  /// References of the process to a registry object; on the simulated Mac, to all platform objects together.
  std::size_t heldReferences(io_service_t object) const;

 private:
  struct Side;
  std::unique_ptr<Side> side_;
};

}  // namespace vlm::contracts
