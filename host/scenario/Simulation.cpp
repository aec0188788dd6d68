#include "host/scenario/Simulation.hpp"

#include "host/base/MainQueue.hpp"
#include "host/scenario/Transcript.hpp"

namespace nimbrel {

void playScenario(const Scenario& scenario, Output& output, const PluginAttachment& attach) {
  MainQueue queue;
  Transcript transcript(queue, output);
  Stage stage(scenario.phone, queue, transcript, attach);
  playSteps(scenario, stage);
}

void playSteps(const Scenario& scenario, Stage& stage) {
  MainQueue& queue = stage.queue();
  for (auto step = scenario.steps.begin(); step != scenario.steps.end();) {
    const MainQueue::Time at = step->at;
    queue.runUntil(at);
    for (; step != scenario.steps.end() && step->at == at; ++step) {
      stage.perform(step->action);
    }
    // Also what the steps made due at once.
    queue.runUntil(at);
  }
}

}  // namespace nimbrel
