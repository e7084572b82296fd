#pragma once

#include "Simulator/Mac/SimulatedAppleEvents.h"
#include "Simulator/Mac/SimulatedApplication.h"
#include "Simulator/Mac/SimulatedBundle.h"
#include "Simulator/Mac/SimulatedColorSync.h"
#include "Simulator/Mac/SimulatedFiles.h"
#include "Simulator/Mac/SimulatedIORegistry.h"
#include "Simulator/Mac/SimulatedInput.h"
#include "Simulator/Mac/SimulatedMonitorBus.h"
#include "Simulator/Mac/SimulatedNotifications.h"
#include "Simulator/Mac/SimulatedPowerSources.h"
#include "Simulator/Mac/SimulatedPreferences.h"
#include "Simulator/Mac/SimulatedQuartz.h"
#include "Simulator/Mac/SimulatedRunLoop.h"
#include "Simulator/Mac/SimulatedSkyLight.h"
#include "Simulator/Mac/SimulatedSystem.h"
#include "Simulator/Mac/SimulatedUserInterface.h"
#include "Simulator/Mac/SimulatedWorkspace.h"

namespace vlm::sim {

/// One process's ports on the simulated Mac.
struct SessionPorts {
  SessionPorts(SimulatedMac& mac, Session& session)
      : appleEvents(mac, session),
        application(mac, session),
        bundle(mac, session),
        colorSync(mac, session),
        files(mac, session),
        input(mac, session),
        registry(mac, session),
        monitorBus(mac, session),
        notifications(mac, session),
        powerSources(mac, session),
        preferences(mac, session),
        quartz(mac, session),
        runLoop(mac, session),
        skyLight(mac, session),
        system(mac, session),
        userInterface(mac, session),
        workspace(mac, session) {}

  SimulatedAppleEvents appleEvents;
  SimulatedApplication application;
  SimulatedBundle bundle;
  SimulatedColorSync colorSync;
  SimulatedFiles files;
  SimulatedInput input;
  SimulatedIORegistry registry;
  SimulatedMonitorBus monitorBus;
  SimulatedNotifications notifications;
  SimulatedPowerSources powerSources;
  SimulatedPreferences preferences;
  SimulatedQuartz quartz;
  SimulatedRunLoop runLoop;
  SimulatedSkyLight skyLight;
  SimulatedSystem system;
  SimulatedUserInterface userInterface;
  SimulatedWorkspace workspace;
};

}  // namespace vlm::sim
