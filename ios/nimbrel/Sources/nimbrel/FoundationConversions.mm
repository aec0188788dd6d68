#import "FoundationConversions.h"

#import "Retained.h"

namespace nimbrel::ios {

namespace {

Retained<NSString*> decoded(std::string_view text, NSStringEncoding encoding) {
  return Retained<NSString*>::adopt([[NSString alloc] initWithBytes:text.data()
                                                             length:text.size()
                                                           encoding:encoding]);
}

}  // namespace

std::string textFrom(NSString* text) {
  // Not by a C string, which would end at the first zero.
  const auto bytes = bytesOf([text dataUsingEncoding:NSUTF8StringEncoding
                                allowLossyConversion:YES]);
  return {bytes.begin(), bytes.end()};
}

NSString* stringFrom(std::string_view text) {
  const auto string = decoded(text, NSUTF8StringEncoding);
  return string.get() != nil ? string.autoreleased()
                             : decoded(text, NSISOLatin1StringEncoding).autoreleased();
}

UUID uuidFrom(NSUUID* uuid) {
  UUID value;
  [uuid getUUIDBytes:value.bytes.data()];
  return value;
}

NSUUID* uuidFrom(UUID uuid) {
  return Retained<NSUUID*>::adopt([[NSUUID alloc] initWithUUIDBytes:uuid.bytes.data()])
      .autoreleased();
}

std::span<const std::uint8_t> bytesOf(NSData* data) {
  return {static_cast<const std::uint8_t*>([data bytes]), [data length]};
}

NSError errorFrom(::NSError* error) { return {textFrom([error localizedDescription])}; }

}  // namespace nimbrel::ios
