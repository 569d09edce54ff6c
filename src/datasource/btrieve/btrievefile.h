// Reading the records of one Btrieve data file, without any dictionary.
//
// Two on-disk layouts are understood:
//
// 5.x (no signature). Page 0 is the file control record (FCR); every other page
// starts with a 4-byte page number and a 2-byte usage word whose top bit marks a
// data page. 32-bit values in the FCR and record addresses are stored as two
// little-endian 16-bit words, high word first. FCR fields used here:
//   0x08 page size (u16)          0x10 first free record slot (address)
//   0x14 number of keys (u16)     0x16 record length (u16)
//   0x18 physical record length   0x1A number of records (u32, high word first)
//   0x1E current data page        0x26 number of pages
//   0x2A free bytes left in the current data page (u16)
//   0x38 record format: 0x00 fixed, 0xFF variable, anything else compressed
// Data pages hold slots of the physical record length from offset 6. A slot is
// fixed data, then (variable files) a 4-byte pointer to the variable part, then
// 8 bytes per key with linked duplicates. Deleted slots form a chain from FCR
// 0x10 (their first 4 bytes are the next address); slots past the used part of
// the current data page were never written.
//
// 6.x ("FC" signature). Pages 0 and 1 are two copies of the FCR (the one with
// the higher usage count at 0x04 is current); record count is a plain u32 at
// 0x1C. Pages are addressed by logical number through page allocation tables
// (pages starting "PP", a u16 table number at 2 and a u32 usage count at 4,
// then 4-byte entries: high byte of the physical page, page type, low 16 bits
// of the physical page). Data pages ('D') hold slots from offset 6, each slot
// starting with a 2-byte word that is zero when the slot is free.
//
// Variable parts live in variable pages: a fragment count (u16) at offset 10,
// fragment offsets as u16 counted backwards from the end of the page (one more
// entry than fragments marks the end of the last one). A variable pointer is
// 3 bytes of page number (high byte, then low word) and a fragment number.
// In 5.x a fragment whose offset has the top bit set begins with the pointer to
// the next fragment of the same record; in 6.x every fragment does (all ones
// when it is the last).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace rq::btrieve {

struct FileInfo {
    int version = 5;  // 5 for the 5.x layout, 6 for the 6.x layout
    std::uint32_t pageSize = 0;
    std::uint32_t recordLength = 0;          // fixed part
    std::uint32_t physicalRecordLength = 0;  // slot size in a data page
    std::uint32_t recordCount = 0;           // as the header states it
    std::uint32_t keyCount = 0;
    bool variableLength = false;
};

class DataFile {
  public:
    // Throws DatabaseError naming the file when it cannot be read or its layout
    // is not one of the understood ones.
    static DataFile open(const std::string& path);
    // The same over bytes already in memory; name is used in messages.
    static DataFile fromBytes(std::string bytes, const std::string& name);

    const FileInfo& info() const { return info_; }
    const std::string& name() const { return name_; }

    // Calls visit once per record in physical order with the fixed part
    // followed by the variable part (if any). The view is valid during the call.
    // A variable part that cannot be followed throws DatabaseError, or, when
    // damaged is given, is cut where it breaks off and told to damaged (the
    // record's number from 1, and why) before the record is visited.
    void forEachRecord(
        const std::function<void(std::string_view)>& visit,
        const std::function<void(std::uint64_t, const std::string&)>& damaged = {}) const;
    // All records as byte strings.
    std::vector<std::string> records() const;

  private:
    DataFile() = default;
    void parse();
    void parse5();
    void parse6();
    [[noreturn]] void fail(const std::string& what) const;
    [[noreturn]] void failVariable(const std::string& what) const;
    std::string_view page(std::uint32_t physical) const;
    // Appends the variable part that starts at the pointer p (4 bytes) to out.
    void appendVariable(const unsigned char* p, std::string& out) const;
    std::uint32_t physicalOf(std::uint32_t logical) const;

    std::string name_;
    std::string bytes_;
    FileInfo info_;
    std::uint32_t pageCount_ = 0;
    // Physical pages that are data pages, in record order.
    std::vector<std::uint32_t> dataPages_;
    // 5.x: file offsets of deleted slots; used part of the current data page.
    std::vector<std::uint64_t> freeSlots_;
    std::uint32_t currentDataPage_ = 0;
    std::uint32_t currentPageUsed_ = 0;
    // 6.x: physical page of each logical page (index 0 unused); 0 = unmapped.
    std::vector<std::uint32_t> logicalToPhysical_;
};

}  // namespace rq::btrieve
