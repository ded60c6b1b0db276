// What the reading commands answer. The report collects the same.
#pragma once

#include <string>

#include "tavixctl/devices.h"
#include "tavixctl/output.h"

Answer AnswerList(Devices& devices);
Answer AnswerShow(Device& device);
Answer AnswerPorts(Devices& devices, bool isTakenOnly);
Answer AnswerStats(Device& device);
Answer AnswerErrors(Device& device);
// The end of the device's log of startup errors; an empty text without a log.
Answer AnswerErrorLog(Device& device);
Answer AnswerLog();
Answer AnswerBus();
// All settings, or the one of that name.
Answer AnswerGlobals(const std::string& name = "");
