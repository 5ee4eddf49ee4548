#include "standin/ipmi/sdrtext.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace standin {
namespace {

/// At their numbers, from 0 on.
constexpr std::string_view UNITS =
    "|degrees C|degrees F|degrees K|V|A|W|J|C|VA|nits|lm|lx|cd|kPa|psi|N|CFM|RPM|Hz|us|ms|s|min|h|days|weeks|mil|in|ft|"
    "cu in|cu ft|mm|cm|m|cu cm|cu m|l|fl "
    "oz|rad|sr|revolutions|cycles|gravities|oz|lb|ft-lb|oz-in|gauss|gilberts|H|mH|F|"
    "uF|ohms|S|mol|Bq|ppm||dB|dBA|dBC|Gy|Sv|degrees K (colour)|bits|kbit|Mbit|Gbit|bytes|kB|MB|GB|words|dwords|qwords|"
    "lines|hits|misses|retries|resets|overruns|underruns|collisions|packets|messages|characters|errors|"
    "correctable errors|uncorrectable errors|fatal errors|g|";
constexpr std::string_view RATES = "|/us|/ms|/s|/min|/h|/day||";
static_assert(std::count(UNITS.begin(), UNITS.end(), '|') == 93);

/// Field `index` of a list whose fields end with "|". Empty where there are not as many.
std::string_view Field(std::string_view list, size_t index) {
  for (; index != 0 && !list.empty(); --index) list.remove_prefix(list.find('|') + 1);
  return list.substr(0, list.find('|'));
}

bool IsShown(char32_t character) {
  const bool control = character < 0x20 || (character >= 0x7F && character < 0xA0);
  const bool direction = character == 0x200E || character == 0x200F || (character >= 0x2028 && character <= 0x202E) ||
                         (character >= 0x2066 && character <= 0x2069);
  const bool half = character >= 0xD800 && character < 0xE000;
  return !control && !direction && !half;
}

void AppendUtf8(std::string& text, char32_t character) {
  if (!IsShown(character)) return;
  if (character < 0x80) {
    text += static_cast<char>(character);
    return;
  }
  const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  text += static_cast<char>((0xFF00U >> (more + 1) & 0xFFU) | character >> (6 * more));
  for (int i = more - 1; i >= 0; --i) text += static_cast<char>(0x80 | (character >> (6 * i) & 0x3F));
}

/// Characters of two bytes, pairs of surrogates included.
std::string FromUnicode(const uint8_t* bytes, size_t length, size_t limit) {
  std::string text;
  char32_t high = 0;
  for (size_t i = 0; i < length && 2 * i + 1 < limit; ++i) {
    char32_t unit = bytes[2 * i] | static_cast<char32_t>(bytes[2 * i + 1]) << 8;
    if (high != 0 && unit >= 0xDC00 && unit < 0xE000) unit = 0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00);
    high = unit >= 0xD800 && unit < 0xDC00 ? unit : 0;
    AppendUtf8(text, unit);
  }
  return text;
}

/// Digits and a few signs in half a byte each, the lower half first.
std::string FromBcdPlus(const uint8_t* bytes, size_t length, size_t limit) {
  constexpr std::string_view SIGNS = "0123456789 -.:,_";
  std::string text;
  for (size_t i = 0; i < std::min(length, 2 * limit); ++i) text += SIGNS[bytes[i / 2] >> (4 * (i % 2)) & 0x0F];
  return text;
}

/// Six bits each, the lowest ones first, that count from the blank on.
std::string FromSixBit(const uint8_t* bytes, size_t length, size_t limit) {
  std::string text;
  for (size_t i = 0; i < length && (6 * i + 5) / 8 < limit; ++i) {
    const size_t byte = 6 * i / 8;
    const unsigned two = bytes[byte] | (byte + 1 < limit ? bytes[byte + 1] * 256U : 0U);
    text += static_cast<char>(0x20 + (two >> (6 * i % 8) & 0x3F));
  }
  return text;
}

std::string FromLatin1(const uint8_t* bytes, size_t length, size_t limit) {
  std::string text;
  for (size_t i = 0; i < std::min(length, limit) && bytes[i] != 0; ++i) AppendUtf8(text, bytes[i]);
  return text;
}

}  // namespace

std::string DecodeIdString(const Bytes& record, size_t place) {
  constexpr std::array DECODERS{FromUnicode, FromBcdPlus, FromSixBit, FromLatin1};
  const uint8_t typeAndLength = record.at(place);
  std::string text = DECODERS.at(typeAndLength >> 6)(record.data() + place + 1, typeAndLength & 0x1F,  // characters
                                                     record.size() - place - 1);
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

std::string UnitText(uint8_t form, uint8_t base, uint8_t modifier) {
  std::string text = (form & 0x01) != 0 ? "%" : "";
  if (base != 0) text.append(text.empty() ? "" : " ").append(Field(UNITS, base));
  const int relation = form >> 1 & 0x03;
  if (relation == 1) text.append("/").append(Field(UNITS, modifier));
  if (relation == 2) text.append(" x ").append(Field(UNITS, modifier));
  return text.append(Field(RATES, form >> 3 & 0x07));
}

}  // namespace standin
