#include "datasource/lotus/lotusworkbook.h"

#include <libwps/libwps.h>

#include <librevenge-stream/librevenge-stream.h>
#include <librevenge/librevenge.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <unordered_map>

#include "datasource/codepage.h"
#include "datasource/lotus/lmbcs.h"
#include "datasource/valuetext.h"

namespace rq::lotus {

namespace {

using excel::CellKind;
using librevenge::RVNGPropertyList;
using librevenge::RVNGPropertyListVector;
using librevenge::RVNGString;

// Larger positions than any version of the format can address are ignored.
constexpr int kMaxRow = 1 << 20;
constexpr int kMaxColumn = 1 << 14;
constexpr int kMaxRepeat = 1024;

// Collects the cells of each sheet as the library reports them.
class Collector : public librevenge::RVNGSpreadsheetInterface {
  public:
    std::vector<LotusSheet> sheets;

    void openSheet(const RVNGPropertyList& p) override {
        sheets.push_back({});
        if (const auto* n = p["librevenge:sheet-name"]) sheets.back().name = n->getStr().cstr();
    }
    void closeSheet() override {}

    void openSheetCell(const RVNGPropertyList& p) override {
        inCell_ = true;
        text_.clear();
        paragraphs_ = 0;
        row_ = intOf(p, "librevenge:row", -1);
        col_ = intOf(p, "librevenge:column", -1);
        repeat_ = std::clamp(intOf(p, "table:number-columns-repeated", 1), 1, kMaxRepeat);
        hasFormula_ = p.child("librevenge:formula") != nullptr;
        const auto* type = p["librevenge:value-type"];
        type_ = type ? type->getStr().cstr() : "";
        const auto* value = p["librevenge:value"];
        hasValue_ = value != nullptr;
        value_ = value ? value->getDouble() : 0.0;
        year_ = intOf(p, "librevenge:year", 0);
        month_ = intOf(p, "librevenge:month", 0);
        day_ = intOf(p, "librevenge:day", 0);
        hours_ = intOf(p, "librevenge:hours", -1);
        minutes_ = intOf(p, "librevenge:minutes", 0);
        seconds_ = p["librevenge:seconds"] ? p["librevenge:seconds"]->getDouble() : 0.0;
    }

    void closeSheetCell() override {
        inCell_ = false;
        if (sheets.empty() || row_ < 0 || col_ < 0 || row_ >= kMaxRow || col_ >= kMaxColumn) return;
        CellKind kind = CellKind::Blank;
        std::string text;
        if (type_ == "date" && year_ > 0 && month_ >= 1 && month_ <= 12 && day_ >= 1 &&
            day_ <= 31) {
            kind = CellKind::Date;
            if (hours_ >= 0 && (hours_ || minutes_ || seconds_ > 0)) {
                int s = static_cast<int>(seconds_);
                text = valuetext::dateTime(year_, month_, day_, hours_, minutes_, s);
            } else {
                text = valuetext::date(year_, month_, day_);
            }
        } else if (type_ == "time" && hours_ >= 0) {
            kind = CellKind::Date;
            text = valuetext::time(hours_, minutes_, static_cast<int>(seconds_));
        } else if (type_ == "boolean" || type_ == "bool") {
            kind = CellKind::Boolean;
            text = valuetext::boolean(value_ != 0);
        } else if (!text_.empty()) {
            kind = CellKind::Text;
            text = text_;
        } else if (hasFormula_ && hasValue_ && std::isnan(value_)) {
            // A text result the library did not pass on; filled in from the
            // file's own string records where it can be.
            kind = CellKind::Text;
            sheets.back().textFormulas.push_back(sheets.back().cells.size());
        } else if (hasValue_ && std::isfinite(value_)) {
            kind = CellKind::Number;
            text = valuetext::floating(value_);
        } else if ((!type_.empty() && type_ != "string" && !hasValue_) ||
                   (hasFormula_ && type_.empty())) {
            // The library leaves the value out when it is zero.
            kind = CellKind::Number;
            text = "0";
        }
        if (kind == CellKind::Blank) return;  // formatting only
        for (int k = 0; k < repeat_ && col_ + k < kMaxColumn; ++k)
            sheets.back().cells.push_back({static_cast<std::uint32_t>(row_),
                                           static_cast<std::uint32_t>(col_ + k), kind, text});
    }

    void openParagraph(const RVNGPropertyList&) override {
        if (inCell_ && paragraphs_++ > 0) text_ += '\n';
    }
    void insertText(const RVNGString& t) override {
        if (inCell_) text_ += t.cstr();
    }
    void insertTab() override {
        if (inCell_) text_ += '\t';
    }
    void insertSpace() override {
        if (inCell_) text_ += ' ';
    }
    void insertLineBreak() override {
        if (inCell_) text_ += '\n';
    }

    void setDocumentMetaData(const RVNGPropertyList&) override {}
    void startDocument(const RVNGPropertyList&) override {}
    void endDocument() override {}
    void definePageStyle(const RVNGPropertyList&) override {}
    void defineEmbeddedFont(const RVNGPropertyList&) override {}
    void openPageSpan(const RVNGPropertyList&) override {}
    void closePageSpan() override {}
    void openHeader(const RVNGPropertyList&) override {}
    void closeHeader() override {}
    void openFooter(const RVNGPropertyList&) override {}
    void closeFooter() override {}
    void defineSheetNumberingStyle(const RVNGPropertyList&) override {}
    void openSheetRow(const RVNGPropertyList&) override {}
    void closeSheetRow() override {}
    void defineChartStyle(const RVNGPropertyList&) override {}
    void openChart(const RVNGPropertyList&) override {}
    void closeChart() override {}
    void openChartTextObject(const RVNGPropertyList&) override {}
    void closeChartTextObject() override {}
    void openChartPlotArea(const RVNGPropertyList&) override {}
    void closeChartPlotArea() override {}
    void insertChartAxis(const RVNGPropertyList&) override {}
    void openChartSerie(const RVNGPropertyList&) override {}
    void closeChartSerie() override {}
    void defineParagraphStyle(const RVNGPropertyList&) override {}
    void closeParagraph() override {}
    void defineCharacterStyle(const RVNGPropertyList&) override {}
    void openSpan(const RVNGPropertyList&) override {}
    void closeSpan() override {}
    void openLink(const RVNGPropertyList&) override {}
    void closeLink() override {}
    void defineSectionStyle(const RVNGPropertyList&) override {}
    void openSection(const RVNGPropertyList&) override {}
    void closeSection() override {}
    void insertField(const RVNGPropertyList&) override {}
    void openOrderedListLevel(const RVNGPropertyList&) override {}
    void openUnorderedListLevel(const RVNGPropertyList&) override {}
    void closeOrderedListLevel() override {}
    void closeUnorderedListLevel() override {}
    void openListElement(const RVNGPropertyList&) override {}
    void closeListElement() override {}
    void openFootnote(const RVNGPropertyList&) override {}
    void closeFootnote() override {}
    void openComment(const RVNGPropertyList&) override {}
    void closeComment() override {}
    void openFrame(const RVNGPropertyList&) override {}
    void closeFrame() override {}
    void insertBinaryObject(const RVNGPropertyList&) override {}
    void openTextBox(const RVNGPropertyList&) override {}
    void closeTextBox() override {}
    void openTable(const RVNGPropertyList&) override {}
    void openTableRow(const RVNGPropertyList&) override {}
    void closeTableRow() override {}
    void openTableCell(const RVNGPropertyList&) override {}
    void closeTableCell() override {}
    void insertCoveredTableCell(const RVNGPropertyList&) override {}
    void closeTable() override {}
    void openGroup(const RVNGPropertyList&) override {}
    void closeGroup() override {}
    void defineGraphicStyle(const RVNGPropertyList&) override {}
    void drawRectangle(const RVNGPropertyList&) override {}
    void drawEllipse(const RVNGPropertyList&) override {}
    void drawPolygon(const RVNGPropertyList&) override {}
    void drawPolyline(const RVNGPropertyList&) override {}
    void drawPath(const RVNGPropertyList&) override {}
    void drawConnector(const RVNGPropertyList&) override {}
    void insertEquation(const RVNGPropertyList&) override {}

  private:
    static int intOf(const RVNGPropertyList& p, const char* key, int fallback) {
        const auto* v = p[key];
        return v ? v->getInt() : fallback;
    }

    bool inCell_ = false;
    std::string text_;
    int paragraphs_ = 0;
    int row_ = -1, col_ = -1, repeat_ = 1;
    bool hasFormula_ = false, hasValue_ = false;
    std::string type_;
    double value_ = 0;
    int year_ = 0, month_ = 0, day_ = 0, hours_ = -1, minutes_ = 0;
    double seconds_ = 0;
};

// Release 2 files keep the text result of a formula in a STRING record after
// it: format byte, column, row, text ending in a zero byte.
void fillFormulaStrings(std::string_view b, LotusSheet& sheet, int codepage) {
    auto u16 = [&](std::size_t at) {
        return static_cast<unsigned>(static_cast<unsigned char>(b[at]) |
                                     (static_cast<unsigned char>(b[at + 1]) << 8));
    };
    if (b.size() < 6 || u16(0) != 0 || u16(2) != 2) return;
    const unsigned version = u16(4);
    if (version < 0x0404 || version > 0x0406) return;
    const CodePage& cp = CodePage::get(codepage);
    std::size_t pos = 0;
    while (pos + 4 <= b.size()) {
        const unsigned type = u16(pos), len = u16(pos + 2);
        if (pos + 4 + len > b.size()) break;
        if (type == 0x33 && len >= 6) {
            const unsigned col = u16(pos + 5), row = u16(pos + 7);
            std::string_view text = b.substr(pos + 9, len - 5);
            text = text.substr(0, text.find('\0'));
            for (std::size_t i : sheet.textFormulas) {
                auto& c = sheet.cells[i];
                if (c.row == row && c.col == col) c.text = cp.toUtf8(text);
            }
        }
        if (type == 1) break;  // end of file
        pos += 4 + len;
    }
}

// Release 3 and later files (WK3, WK4, .123) write their text in LMBCS. The
// library passes group bytes through as they are (0x0F 0x2D shows as "-")
// and drops others (0x01 0x0D), so the text of labels (LABEL records: row,
// sheet, column, alignment prefix, text) and of formula results (STRING
// records: row, sheet, column, text) that hold such bytes is read again here.
void fillLmbcsText(std::string_view b, std::vector<LotusSheet>& sheets, int codepage) {
    auto u16 = [&](std::size_t at) {
        return static_cast<unsigned>(static_cast<unsigned char>(b[at]) |
                                     (static_cast<unsigned char>(b[at + 1]) << 8));
    };
    if (b.size() < 6 || u16(0) != 0 || u16(2) < 2) return;
    const unsigned version = u16(4);
    if (version < 0x1000 || version > 0x1005) return;
    struct Found {
        unsigned sheet, row, col;
        std::string_view raw;
    };
    std::vector<Found> found;
    std::size_t pos = 0;
    while (pos + 4 <= b.size()) {
        const unsigned type = u16(pos), len = u16(pos + 2);
        if (pos + 4 + len > b.size() || type == 1) break;  // cut short, or the end
        const std::size_t textAt = type == 0x16 ? 5 : 4;
        if ((type == 0x16 || type == 0x1A) && len > textAt) {
            const std::string_view d = b.substr(pos + 4, len);
            const std::string_view raw = d.substr(textAt);
            const unsigned sheet = static_cast<unsigned char>(d[2]);
            if (hasLowBytes(raw.substr(0, raw.find('\0'))) && sheet < sheets.size())
                found.push_back({sheet, u16(pos + 4), static_cast<unsigned char>(d[3]), raw});
        }
        pos += 4 + len;
    }
    if (found.empty()) return;
    const CodePage& cp = CodePage::get(codepage);
    std::vector<std::unordered_map<std::uint64_t, std::size_t>> at(sheets.size());
    std::vector<bool> indexed(sheets.size());
    for (const Found& f : found) {
        auto& index = at[f.sheet];
        auto& cells = sheets[f.sheet].cells;
        if (!indexed[f.sheet]) {
            indexed[f.sheet] = true;
            for (std::size_t i = 0; i < cells.size(); ++i)
                if (cells[i].kind == CellKind::Text)
                    index[std::uint64_t{cells[i].row} << 32 | cells[i].col] = i;
        }
        auto it = index.find(std::uint64_t{f.row} << 32 | f.col);
        if (it != index.end()) cells[it->second].text = decodeLmbcs(f.raw, cp);
    }
}

}  // namespace

std::vector<LotusSheet> parseLotusWorkbook(std::string_view bytes, const std::string& encoding) {
    if (bytes.empty()) throw std::runtime_error("the file is empty");
    librevenge::RVNGStringStream stream(reinterpret_cast<const unsigned char*>(bytes.data()),
                                        static_cast<unsigned>(bytes.size()));
    libwps::WPSKind kind = libwps::WPS_TEXT;
    libwps::WPSCreator creator = libwps::WPS_MSWORKS;
    bool needEncoding = false;
    const auto confidence =
        libwps::WPSDocument::isFileFormatSupported(&stream, kind, creator, needEncoding);
    if (confidence == libwps::WPS_CONFIDENCE_SUPPORTED_ENCRYPTION)
        throw std::runtime_error("the file is protected with a password");
    if (confidence != libwps::WPS_CONFIDENCE_EXCELLENT || kind != libwps::WPS_SPREADSHEET)
        throw std::runtime_error("the file is not a worksheet");
    Collector collector;
    const auto result = libwps::WPSDocument::parse(&stream, &collector, "", encoding.c_str());
    if (result == libwps::WPS_ENCRYPTION_ERROR)
        throw std::runtime_error("the file is protected with a password");
    if (result != libwps::WPS_OK) throw std::runtime_error("the worksheet is damaged");
    int codepage = 850;
    if (encoding.size() > 2) codepage = std::atoi(encoding.c_str() + 2);
    if (collector.sheets.size() == 1) fillFormulaStrings(bytes, collector.sheets.front(), codepage);
    fillLmbcsText(bytes, collector.sheets, codepage);
    for (auto& s : collector.sheets) s.textFormulas.clear();
    return std::move(collector.sheets);
}

}  // namespace rq::lotus
