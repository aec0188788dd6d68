#include "host/scenario/Transmitter.hpp"

#include <utility>

namespace nimbrel {

Transmitter::Transmitter(MainQueue& queue, Receiver receiver)
    : queue_(queue), receiver_(std::move(receiver)) {}

void Transmitter::start(const actions::Advertise& advertise) {
  receiver_(advertise);
  if (advertise.every.has_value()) {
    repeat(std::make_shared<actions::Advertise>(advertise), queue_.now() + advertise.lasting);
  }
}

void Transmitter::repeat(const std::shared_ptr<const actions::Advertise>& advertise,
                         MainQueue::Time end) {
  const MainQueue::Time next = queue_.now() + *advertise->every;
  if (next > end) {
    return;
  }
  queue_.at(next, [this, advertise, end] {
    receiver_(*advertise);
    repeat(advertise, end);
  });
}

}  // namespace nimbrel
