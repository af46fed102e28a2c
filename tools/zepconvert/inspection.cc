// SPDX-License-Identifier: MIT
#include "tools/zepconvert/inspection.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

#include <nlohmann/json.hpp>

#include "tools/zepconvert/console.h"
#include "tools/zepconvert/facts.h"
#include "tools/zepconvert/failure.h"
#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/jobs.h"
#include "tools/zepconvert/row_input.h"
#include "tools/zepconvert/text.h"
#include "tools/zepconvert/threads.h"

namespace zepconvert {
namespace {

// An inspection and its text.
struct Finding {
  Inspection inspection;
  std::string sentence;
  nlohmann::ordered_json json;
};

// Decodes without keeping the pixels.
void Decode(const Settings& settings, ByteView input, Inspection* inspection) {
  Picture messages;
  try {
    ReadAllRows(settings, input, &messages);
    inspection->damage = std::move(messages.warnings);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& failure) {
    inspection->damage.emplace_back(failure.what());  // the headers were good
  }
}

void Inspect(const Command& command, Finding* finding) {
  const Settings& settings = command.settings;
  Inspection& inspection = finding->inspection;
  // The pages of a mapped file are read as they are needed: for the headers only a few.
  const int64_t mapped_from = command.task == Task::kProbe ? 0 : settings.memory / 4;
  const FileBytes input =
      ReadFile(inspection.path, {StreamBytes(settings.max_pixels), nullptr, mapped_from});
  const Facts facts = FactsOf(settings, input);
  if (settings.from != Format::kUnknown && !IsSameKind(facts.format, settings.from)) {
    throw Failure("is not of the format that --from names");
  }
  finding->sentence = Sentence(facts);
  finding->json = Json(facts);
  if (!facts.damage.empty()) inspection.damage.push_back(facts.damage);
  if (command.task == Task::kVerify) Decode(settings, input, &inspection);
}

void Run(const Command& command, Finding* finding) {
  Inspection& inspection = finding->inspection;
  inspection.was_begun = true;
  if (!inspection.error.empty()) return;
  try {
    Inspect(command, finding);
  } catch (const std::bad_alloc&) {
    inspection.error = "not enough memory";
  } catch (const std::exception& failure) {
    inspection.error = failure.what();
  }
}

const char* StateOf(const Inspection& inspection) {
  if (!inspection.error.empty()) return "unreadable";
  return inspection.damage.empty() ? "whole" : "damaged";
}

void PrintLine(Task task, const Finding& finding) {
  const Inspection& inspection = finding.inspection;
  std::string line = ShownInput(inspection.path) + ": ";
  if (task == Task::kVerify) line += std::string(StateOf(inspection)) + ": ";
  line += inspection.error.empty() ? finding.sentence : inspection.error;
  std::printf("%s\n", Printable(line).c_str());
  for (const std::string& damage : inspection.damage) {
    std::printf("  %s\n", Printable(damage).c_str());
  }
}

void PrintJson(Task task, const std::vector<Finding>& findings) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  for (const Finding& finding : findings) {
    const Inspection& inspection = finding.inspection;
    nlohmann::ordered_json one = {{"file", inspection.path}};
    if (task == Task::kVerify) one["state"] = StateOf(inspection);
    if (!inspection.error.empty()) one["error"] = inspection.error;
    if (finding.json.is_object()) one.update(finding.json);
    one["damage"] = inspection.damage;
    all.push_back(std::move(one));
  }
  constexpr int kIndent = 2;
  // Names need not be UTF-8.
  const auto replace = nlohmann::ordered_json::error_handler_t::replace;
  std::printf("%s\n", all.dump(kIndent, ' ', false, replace).c_str());
}

}  // namespace

std::vector<Inspection> InspectFiles(const Command& command, const std::atomic<bool>& stop) {
  std::vector<Finding> findings;
  for (const Input& input : FindInputs(command)) {
    findings.emplace_back();
    findings.back().inspection.path = input.path;
    findings.back().inspection.error = input.error;
  }
  {
    Console console(findings.size(), command.settings.quiet || command.task == Task::kProbe);
    ForEachOnThreads(command.settings.jobs, findings.size(), stop, [&](size_t i) {
      const Step step(&console);
      Run(command, &findings[i]);
    });
  }
  if (command.prints_json) {
    PrintJson(command.task, findings);
  } else {
    for (const Finding& finding : findings) {
      if (finding.inspection.was_begun) PrintLine(command.task, finding);
    }
  }
  std::vector<Inspection> inspections;
  for (Finding& finding : findings) inspections.push_back(std::move(finding.inspection));
  return inspections;
}

}  // namespace zepconvert
