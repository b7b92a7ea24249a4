#include "RtfReader.h"

#include <QColor>
#include <QStringDecoder>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextDocument>

#include <vector>

namespace {

/// What a group carries: character formatting, the Unicode fallback count, and whether its text
/// is to be shown at all.
struct State {
    bool bold = false, italic = false, underline = false;
    int halfPoints = 24;
    int color = 0;
    int uc = 1;
    enum Destination {
        Text,
        Skip,
        FontTable,
        ColorTable,
        FieldInstruction,
        FieldResult
    } destination
        = Text;
};

/// Windows-1252 bytes 0x80-0x9F (the rest of the page is Latin-1).
const char16_t kCp1252[32]
    = { 0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
          0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
          0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178 };
/// Mac Roman bytes 0x80-0xFF.
const char16_t kMacRoman[128] = { 0xC4, 0xC5, 0xC7, 0xC9, 0xD1, 0xD6, 0xDC, 0xE1, 0xE0, 0xE2, 0xE4,
    0xE3, 0xE5, 0xE7, 0xE9, 0xE8, 0xEA, 0xEB, 0xED, 0xEC, 0xEE, 0xEF, 0xF1, 0xF3, 0xF2, 0xF4, 0xF6,
    0xF5, 0xFA, 0xF9, 0xFB, 0xFC, 0x2020, 0xB0, 0xA2, 0xA3, 0xA7, 0x2022, 0xB6, 0xDF, 0xAE, 0xA9,
    0x2122, 0xB4, 0xA8, 0x2260, 0xC6, 0xD8, 0x221E, 0xB1, 0x2264, 0x2265, 0xA5, 0xB5, 0x2202,
    0x2211, 0x220F, 0x3C0, 0x222B, 0xAA, 0xBA, 0x3A9, 0xE6, 0xF8, 0xBF, 0xA1, 0xAC, 0x221A, 0x192,
    0x2248, 0x2206, 0xAB, 0xBB, 0x2026, 0xA0, 0xC0, 0xC3, 0xD5, 0x152, 0x153, 0x2013, 0x2014,
    0x201C, 0x201D, 0x2018, 0x2019, 0xF7, 0x25CA, 0xFF, 0x178, 0x2044, 0x20AC, 0x2039, 0x203A,
    0xFB01, 0xFB02, 0x2021, 0xB7, 0x201A, 0x201E, 0x2030, 0xC2, 0xCA, 0xC1, 0xCB, 0xC8, 0xCD, 0xCE,
    0xCF, 0xCC, 0xD3, 0xD4, 0xF8FF, 0xD2, 0xDA, 0xDB, 0xD9, 0x131, 0x2C6, 0x2DC, 0xAF, 0x2D8, 0x2D9,
    0x2DA, 0xB8, 0x2DD, 0x2DB, 0x2C7 };

class Reader {
public:
    Reader(const QByteArray& rtf, QTextDocument* document)
        : m_in(rtf)
        , m_document(document)
        , m_cursor(document)
    {
    }

    void run()
    {
        m_stack.push_back(State {});
        while (m_pos < m_in.size()) {
            const char c = m_in[m_pos];
            if (c == '{') {
                ++m_pos;
                if (m_stack.size() < size_t(kMaxRtfDepth))
                    m_stack.push_back(m_stack.back());
                else
                    ++m_flattened; // deeper groups are read as part of their parent
            } else if (c == '}') {
                ++m_pos;
                closeGroup();
            } else if (c == '\\') {
                controlWord();
            } else if (c == '\r' || c == '\n') {
                ++m_pos;
            } else {
                ++m_pos;
                if (m_skipChars > 0)
                    --m_skipChars;
                else
                    text(QChar(decodeByte(uchar(c))));
            }
        }
        flushText();
        flushLink();
    }

private:
    State& state() { return m_stack.back(); }

    QTextCharFormat format() const
    {
        const State& s = m_stack.back();
        QTextCharFormat f;
        f.setFontWeight(s.bold ? QFont::Bold : QFont::Normal);
        f.setFontItalic(s.italic);
        f.setFontUnderline(s.underline);
        f.setFontPointSize(s.halfPoints / 2.0);
        if (s.color > 0 && s.color < int(m_colors.size()) && m_colors[size_t(s.color)].isValid())
            f.setForeground(m_colors[size_t(s.color)]);
        return f;
    }

    void closeGroup()
    {
        if (m_flattened > 0) {
            --m_flattened;
            return;
        }
        if (m_stack.size() <= 1)
            return; // an unbalanced closing brace: ignored
        const State closing = m_stack.back();
        m_stack.pop_back();
        if (closing.destination == State::ColorTable
            && m_stack.back().destination != State::ColorTable && m_colorOpen)
            finishColor();
        if (closing.destination == State::FieldInstruction
            && m_stack.back().destination != State::FieldInstruction)
            m_linkTarget = parseHyperlink(m_instruction);
        if (closing.destination == State::FieldResult
            && m_stack.back().destination != State::FieldResult)
            flushLink();
    }

    void text(QChar ch)
    {
        switch (state().destination) {
        case State::Text:
        case State::FieldResult: {
            QTextCharFormat f = format();
            if (state().destination == State::FieldResult && !m_linkTarget.isEmpty()) {
                f.setAnchor(true);
                f.setAnchorHref(m_linkTarget);
                f.setFontUnderline(true);
            }
            // Runs of text with one format go into the document together.
            if (!m_pending.isEmpty() && f != m_pendingFormat)
                flushText();
            m_pendingFormat = f;
            m_pending += ch;
            break;
        }
        case State::FieldInstruction:
            m_instruction += ch;
            break;
        case State::ColorTable:
            if (ch == QLatin1Char(';'))
                finishColor();
            break;
        default:
            break;
        }
    }

    void flushText()
    {
        if (!m_pending.isEmpty())
            m_cursor.insertText(m_pending, m_pendingFormat);
        m_pending.clear();
    }

    void finishColor()
    {
        m_colors.push_back(m_colorOpen ? QColor(m_red, m_green, m_blue) : QColor());
        m_colorOpen = false;
        m_red = m_green = m_blue = 0;
    }

    static QString parseHyperlink(const QString& instruction)
    {
        const qsizetype at = instruction.indexOf(QStringLiteral("HYPERLINK"));
        if (at < 0)
            return QString();
        const qsizetype open = instruction.indexOf(QLatin1Char('"'), at);
        const qsizetype close = open < 0 ? -1 : instruction.indexOf(QLatin1Char('"'), open + 1);
        if (close > open)
            return instruction.mid(open + 1, close - open - 1);
        return instruction.mid(at + 9).trimmed().section(QLatin1Char(' '), 0, 0);
    }

    void flushLink()
    {
        m_linkTarget.clear();
        m_instruction.clear();
    }

    QChar decodeByte(uchar b)
    {
        if (b < 0x80)
            return QChar(b);
        if (m_codePage == 10000)
            return QChar(kMacRoman[b - 0x80]);
        if (m_codePage == 1252 && b < 0xA0)
            return QChar(kCp1252[b - 0x80]);
        if (m_codePage == 1252 || m_codePage == 28591)
            return QChar(b);
        // Other pages through the decoders Qt has; Latin-1 where it has none.
        if (m_decoderPage != m_codePage) {
            m_decoderPage = m_codePage;
            const QByteArray name = (m_codePage == 437 || m_codePage == 850 ? "IBM" : "windows-")
                + QByteArray::number(m_codePage);
            m_decoder = QStringDecoder(name.constData());
        }
        if (m_decoder.isValid()) {
            const QString s = m_decoder(QByteArray(1, char(b)));
            if (s.size() == 1)
                return s[0];
        }
        return QChar(b);
    }

    void controlWord()
    {
        ++m_pos; // the backslash
        if (m_pos >= m_in.size())
            return;
        const char c = m_in[m_pos];
        if (!std::isalpha(uchar(c))) {
            ++m_pos;
            switch (c) {
            case '\\':
            case '{':
            case '}':
                plain(QChar(c));
                return;
            case '\'': {
                const QByteArray hex = m_in.mid(m_pos, 2);
                m_pos += hex.size();
                bool ok = false;
                const int value = hex.toInt(&ok, 16);
                if (ok)
                    plain(decodeByte(uchar(value)));
                return;
            }
            case '~':
                plain(QChar(0xA0));
                return;
            case '-':
                return; // optional hyphen
            case '_':
                plain(QChar(0x2011));
                return;
            case '*':
                state().destination = State::Skip;
                return;
            case '\n':
            case '\r':
                newParagraph();
                return; // "\" at the end of a line, as TextEdit writes
            default:
                return;
            }
        }
        const qsizetype start = m_pos;
        while (m_pos < m_in.size() && std::isalpha(uchar(m_in[m_pos])) && m_pos - start < 32)
            ++m_pos;
        const QByteArray word = m_in.mid(start, m_pos - start);
        bool hasParam = false;
        long long param = 0;
        const qsizetype numStart = m_pos;
        if (m_pos < m_in.size() && (m_in[m_pos] == '-' || std::isdigit(uchar(m_in[m_pos])))) {
            ++m_pos;
            while (m_pos < m_in.size() && std::isdigit(uchar(m_in[m_pos])) && m_pos - numStart < 11)
                ++m_pos;
            param = m_in.mid(numStart, m_pos - numStart).toLongLong(&hasParam);
        }
        if (m_pos < m_in.size() && m_in[m_pos] == ' ')
            ++m_pos; // the delimiter belongs to the control word
        apply(word, hasParam, param);
    }

    /// A character from an escape: it counts against the fallback characters of \uN.
    void plain(QChar ch)
    {
        if (m_skipChars > 0) {
            --m_skipChars;
            return;
        }
        text(ch);
    }

    void newParagraph()
    {
        if (state().destination == State::Text || state().destination == State::FieldResult) {
            flushText();
            m_cursor.insertBlock(QTextBlockFormat(), format());
        }
    }

    void apply(const QByteArray& w, bool hasParam, long long p)
    {
        State& s = state();
        const bool on = !hasParam || p != 0;
        if (w == "par" || w == "line" || w == "sect" || w == "page")
            newParagraph();
        else if (w == "tab")
            plain(QChar('\t'));
        else if (w == "bullet")
            plain(QChar(0x2022));
        else if (w == "emdash")
            plain(QChar(0x2014));
        else if (w == "endash")
            plain(QChar(0x2013));
        else if (w == "lquote" || w == "rquote")
            plain(QChar(w == "lquote" ? 0x2018 : 0x2019));
        else if (w == "ldblquote" || w == "rdblquote")
            plain(QChar(w == "ldblquote" ? 0x201C : 0x201D));
        else if (w == "b")
            s.bold = on;
        else if (w == "i")
            s.italic = on;
        else if (w == "ul")
            s.underline = on;
        else if (w == "ulnone")
            s.underline = false;
        else if (w == "plain") {
            s.bold = s.italic = s.underline = false;
            s.halfPoints = 24;
            s.color = 0;
        } else if (w == "fs" && hasParam && p > 0 && p < 2000)
            s.halfPoints = int(p);
        else if (w == "cf" && hasParam && p >= 0 && p < 10000)
            s.color = int(p);
        else if (w == "uc" && hasParam && p >= 0 && p < 10)
            s.uc = int(p);
        else if (w == "u" && hasParam) {
            const char16_t unit = char16_t(uint16_t(p)); // negative values are unsigned 16-bit
            if (QChar::isHighSurrogate(unit)) {
                m_highSurrogate = unit;
            } else if (QChar::isLowSurrogate(unit) && m_highSurrogate) {
                const char32_t full = QChar::surrogateToUcs4(m_highSurrogate, unit);
                m_highSurrogate = 0;
                for (const QChar ch : QString::fromUcs4(&full, 1))
                    text(ch);
            } else {
                text(QChar(unit));
            }
            m_skipChars = s.uc;
        } else if (w == "ansicpg" && hasParam)
            m_codePage = int(p);
        else if (w == "mac")
            m_codePage = 10000;
        else if (w == "pc")
            m_codePage = 437;
        else if (w == "pca")
            m_codePage = 850;
        else if (w == "fonttbl" || w == "stylesheet" || w == "info" || w == "pict" || w == "object"
            || w == "header" || w == "footer" || w == "listtext" || w == "listtable"
            || w == "listoverridetable" || w == "themedata" || w == "colorschememapping"
            || w == "latentstyles" || w == "datastore" || w == "xmlnstbl" || w == "generator")
            s.destination = State::Skip;
        else if (w == "colortbl")
            s.destination = State::ColorTable;
        else if (w == "red" && s.destination == State::ColorTable) {
            m_red = int(std::clamp<long long>(p, 0, 255));
            m_colorOpen = true;
        } else if (w == "green" && s.destination == State::ColorTable) {
            m_green = int(std::clamp<long long>(p, 0, 255));
            m_colorOpen = true;
        } else if (w == "blue" && s.destination == State::ColorTable) {
            m_blue = int(std::clamp<long long>(p, 0, 255));
            m_colorOpen = true;
        } else if (w == "fldinst")
            s.destination = State::FieldInstruction;
        else if (w == "fldrslt")
            s.destination = State::FieldResult;
        else if (w == "bin" && hasParam && p > 0)
            m_pos = std::min<qsizetype>(
                m_in.size(), m_pos + qsizetype(std::min<long long>(p, m_in.size())));
        // Anything else is not known here and is ignored; the text around it stays.
    }

    const QByteArray& m_in;
    QTextDocument* m_document;
    QTextCursor m_cursor;
    qsizetype m_pos = 0;
    std::vector<State> m_stack;
    int m_flattened = 0;
    int m_skipChars = 0;
    int m_codePage = 1252;
    std::vector<QColor> m_colors;
    bool m_colorOpen = false;
    int m_red = 0, m_green = 0, m_blue = 0;
    QString m_instruction;
    QString m_linkTarget;
    char16_t m_highSurrogate = 0;
    QString m_pending;
    QTextCharFormat m_pendingFormat;
    int m_decoderPage = 0;
    QStringDecoder m_decoder;
};
} // namespace

bool readRtf(const QByteArray& rtf, QTextDocument* document)
{
    if (!rtf.startsWith("{\\rtf"))
        return false;
    document->clear();
    const QByteArray bounded = rtf.left(kMaxRtfSize);
    Reader(bounded, document).run();
    return true;
}
