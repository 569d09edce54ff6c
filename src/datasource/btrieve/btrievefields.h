// Btrieve field types: their engine type codes and the text of their values.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace rq {
class CodePage;
}

namespace rq::btrieve {

// Data type numbers as the dictionary (FIELD.DDF) stores them.
enum DataType : int {
    kString = 0,
    kInteger = 1,
    kFloat = 2,
    kDate = 3,
    kTime = 4,
    kDecimal = 5,
    kMoney = 6,
    kLogical = 7,
    kNumeric = 8,
    kBfloat = 9,
    kLstring = 10,
    kZstring = 11,
    kNote = 12,
    kLvar = 13,
    kUnsigned = 14,
    kAutoinc = 15,
    kBit = 16,
    kNumericSts = 17,
    kNumericSa = 18,
    kCurrency = 19,
    kTimestamp = 20,
    kBlob = 21,
    kWstring = 25,
    kWzstring = 26,
    kGuid = 27,
};

struct FieldDef {
    std::string name;  // UTF-8
    int dataType = kString;
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
    int decimals = 0;
};

// False for dictionary entries that describe indexes or constraints rather
// than columns of the record.
bool isColumnType(int dataType);

// The engine's field type code for a Btrieve field.
int engineType(const FieldDef& field);

// Appends the text of the field's value in record (fixed part followed by the
// variable part) to out. Nothing is appended for a null value or a field that
// lies outside the record. False, with nothing appended, when the bytes are not
// a value of the field's type (a packed decimal with a half-byte that is no
// digit, a date with month 13).
bool appendFieldText(const FieldDef& field, std::string_view record, const CodePage& codePage,
                     std::string& out);

// Values of the less common encodings, exposed for testing.
double mbfToDouble(std::string_view bytes);  // 4 or 8 bytes
std::string utf16leToUtf8(std::string_view bytes);

}  // namespace rq::btrieve
