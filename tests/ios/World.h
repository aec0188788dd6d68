#pragma once

#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "host/engine/Messenger.hpp"
#include "host/engine/Registrar.hpp"
#include "host/phone/Phone.hpp"
#import "ios/nimbrel/Sources/nimbrel/include/nimbrel/NimbrelPlugin.h"
#include "tests/frameworks/Device.h"
#include "tests/frameworks/Engine.h"

namespace nimbrel {

/// A phone with the frameworks in front of it, and one registered plug-in object.
class World : public testing::Test, private PhoneObserver {
 protected:
  using Trace = std::vector<std::string>;

  World() {
    Registrar registrar(*messenger);
    EngineRegistrar* object = [EngineRegistrar registrarFor:registrar];
    [NimbrelPlugin registerWithRegistrar:object];
    plugin = static_cast<NimbrelPlugin*>(object.delegate);
  }
  ~World() override {
    messenger.reset();
    [pool_ drain];
  }

  /// What the plug-in answers at once; nil if it does not.
  id answerTo(NSString* method) {
    __block id answer = nil;
    [plugin handleMethodCall:[::FlutterMethodCall methodCallWithMethodName:method arguments:nil]
                      result:^(id value) {
                        answer = [[value retain] autorelease];
                      }];
    return answer;
  }

 private:
  void logged(std::string_view line) override { trace.emplace_back(line); }
  void requested(const Request& request) override {
    trace.push_back(std::string(request.operation) +
                    (request.region.has_value() ? " " + request.region->identifier : ""));
  }

  NSAutoreleasePool* pool_ = [[NSAutoreleasePool alloc] init];

 protected:
  /// What the plug-in logged and asked of the phone.
  Trace trace;
  MainQueue queue;
  Phone phone{{}, queue, *this};
  fakes::Device device{phone};
  /// The application's end of the channels, which keeps the plug-in alive.
  std::unique_ptr<Messenger> messenger = std::make_unique<Messenger>();
  NimbrelPlugin* plugin = nil;
};

}  // namespace nimbrel
