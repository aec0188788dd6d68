#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/Foundation.hpp"

/// What crosses between the frameworks and the plug-in. The plug-in's types bear the frameworks'
/// names: in this namespace the bare name is the plug-in's, `::` before it the framework's. Objects
/// that are returned bare are autoreleased.
namespace nimbrel::ios {

/// In UTF-8; empty for nil.
std::string textFrom(NSString* text);
/// Bytes that are not UTF-8 are read as ISO 8859-1, so that nothing is lost. Never nil.
NSString* stringFrom(std::string_view text);

UUID uuidFrom(NSUUID* uuid);
NSUUID* uuidFrom(UUID uuid);

/// The bytes of `data` itself, valid as long as it is.
std::span<const std::uint8_t> bytesOf(NSData* data);

NSError errorFrom(::NSError* error);

}  // namespace nimbrel::ios
