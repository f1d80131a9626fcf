// The Office Open XML package of a Document: the parts, their relationships and content types, the
// body with its paragraphs and tables, the styles (a template's, completed with the built-in ones
// the document uses) and the settings with the protection.
#include "WordDocument.h"
#include "ZipArchive.h"

#include "TARMOError.h"

#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cmath>

namespace word {

namespace {

const QString W = QStringLiteral("http://schemas.openxmlformats.org/wordprocessingml/2006/main");
const QString R = QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships");
const QString RelationshipsNs =
    QStringLiteral("http://schemas.openxmlformats.org/package/2006/relationships");
const QString OfficeRel =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/");

// A4 with margins of 2.5 cm left and right: the width that a 100 per cent table takes, in twips.
constexpr int kPageWidth = 11906;
constexpr int kPageHeight = 16838;
constexpr int kMarginSide = 1417;
constexpr int kTextWidth = kPageWidth - 2 * kMarginSide;
constexpr int kCellPadding = 108;

// The built-in styles the model offers, with their ids and looks when no template brings them.
struct BuiltIn {
    const char* name;
    const char* id;
    int level; // 0 for Normal
    int halfPoints;
};
constexpr BuiltIn kBuiltIns[] = {{"Normal", "Normal", 0, 20},
                                 {"heading 1", "Heading1", 1, 36},
                                 {"heading 2", "Heading2", 2, 30},
                                 {"heading 3", "Heading3", 3, 26},
                                 {"heading 4", "Heading4", 4, 22}};

QString hex(unsigned rgb) {
    return QStringLiteral("%1").arg(rgb & 0xFFFFFF, 6, 16, QLatin1Char('0')).toUpper();
}

// XML 1.0 takes no control characters but tab, LF and CR, and no lone surrogates; a source file may
// hold any of them.
QString xmlSafe(const QString& text) {
    QString safe;
    safe.reserve(text.size());
    for (qsizetype n = 0; n < text.size(); ++n) {
        const QChar c = text[n];
        if (c.isHighSurrogate() && n + 1 < text.size() && text[n + 1].isLowSurrogate()) {
            safe += c;
            safe += text[++n];
        } else if (c.isSurrogate() ||
                   (c.unicode() < 0x20 && c != QLatin1Char('\t') && c != QLatin1Char('\n') &&
                    c != QLatin1Char('\r')) ||
                   c.unicode() == 0xFFFE || c.unicode() == 0xFFFF) {
            safe += QChar(0xFFFD);
        } else {
            safe += c;
        }
    }
    return safe;
}

QString styleIdOf(const QString& name) {
    QString id;
    for (const QChar c : name)
        if (c.isLetterOrNumber())
            id += c;
    return id.isEmpty() ? QStringLiteral("Style") : id;
}

// What a template brings: its styles part as text with the ids of its styles by name, and the
// parts that the styles may lean on.
struct TemplateStyles {
    QString text;
    QString prefix = QStringLiteral("w");
    QHash<QString, QString> idByName; // lower-cased name -> id
    QList<std::pair<qsizetype, qsizetype>> styleRanges;
    QStringList styleNames; // parallel to styleRanges
};

TemplateStyles readTemplateStyles(const QByteArray& bytes) {
    TemplateStyles styles;
    styles.text = QString::fromUtf8(bytes);
    QXmlStreamReader reader(styles.text);
    qsizetype start = -1;
    QString name, id;
    int depth = 0;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement()) {
            ++depth;
            if (depth == 1) {
                for (const QXmlStreamNamespaceDeclaration& declaration : reader.namespaceDeclarations())
                    if (declaration.namespaceUri() == W)
                        styles.prefix = declaration.prefix().toString();
            } else if (depth == 2 && reader.namespaceUri() == W && reader.name() == QLatin1String("style")) {
                start = styles.text.lastIndexOf(QLatin1Char('<'), reader.characterOffset() - 1);
                id = reader.attributes().value(W, QStringLiteral("styleId")).toString();
                name.clear();
            } else if (depth == 3 && start >= 0 && reader.name() == QLatin1String("name")) {
                name = reader.attributes().value(W, QStringLiteral("val")).toString();
            }
        } else if (reader.isEndElement()) {
            if (depth == 2 && start >= 0) {
                styles.styleRanges.append({start, reader.characterOffset()});
                styles.styleNames.append(name.toLower());
                if (!name.isEmpty())
                    styles.idByName.insert(name.toLower(), id);
                start = -1;
            }
            --depth;
        }
    }
    if (reader.hasError())
        throw TARMOError(5792, QStringLiteral("Document"),
                         QStringLiteral("The template's styles could not be read: ") + reader.errorString());
    return styles;
}

int protectionOf(const QByteArray& settings) {
    QXmlStreamReader reader(settings);
    while (reader.readNextStartElement() || !reader.atEnd()) {
        if (!reader.isStartElement() || reader.name() != QLatin1String("documentProtection"))
            continue;
        const QString enforced = reader.attributes().value(W, QStringLiteral("enforcement")).toString();
        if (enforced != QLatin1String("1") && enforced != QLatin1String("true") &&
            enforced != QLatin1String("on"))
            return NoProtection;
        const QString edit = reader.attributes().value(W, QStringLiteral("edit")).toString();
        if (edit == QLatin1String("trackedChanges"))
            return 0;
        if (edit == QLatin1String("comments"))
            return 1;
        if (edit == QLatin1String("forms"))
            return 2;
        if (edit == QLatin1String("readOnly"))
            return 3;
        return NoProtection;
    }
    return NoProtection;
}

QString protectionEdit(int type) {
    switch (type) {
    case 0:
        return QStringLiteral("trackedChanges");
    case 1:
        return QStringLiteral("comments");
    case 2:
        return QStringLiteral("forms");
    default:
        return QStringLiteral("readOnly");
    }
}

// Writes the body. Style names become the ids that the styles part gives them.
class BodyWriter {
public:
    BodyWriter(QXmlStreamWriter& xml, const QHash<QString, QString>& idByName)
        : mXml(xml)
        , mIds(idByName) {}

    void blocks(const std::vector<Block>& blocks, int width, bool inCell) {
        for (const Block& block : blocks) {
            if (block.paragraph)
                paragraph(*block.paragraph);
            else if (block.table)
                table(*block.table, width);
        }
        // A cell ends with a paragraph; so does a body, before its section.
        if (blocks.empty() || !blocks.back().paragraph) {
            mXml.writeStartElement(W, QStringLiteral("p"));
            mXml.writeEndElement();
        }
        (void)inCell;
    }

private:
    void val(const QString& element, const QString& value) {
        mXml.writeEmptyElement(W, element);
        mXml.writeAttribute(W, QStringLiteral("val"), value);
    }

    void shading(unsigned rgb) {
        mXml.writeEmptyElement(W, QStringLiteral("shd"));
        mXml.writeAttribute(W, QStringLiteral("val"), QStringLiteral("clear"));
        mXml.writeAttribute(W, QStringLiteral("color"), QStringLiteral("auto"));
        mXml.writeAttribute(W, QStringLiteral("fill"), hex(rgb));
    }

    void runProperties(const RunFormat& format, const RunFormat& fallback) {
        const std::optional<bool> bold = format.Bold ? format.Bold : fallback.Bold;
        const std::optional<bool> italic = format.Italic ? format.Italic : fallback.Italic;
        const std::optional<unsigned> color = format.Color ? format.Color : fallback.Color;
        const bool noProof = format.NoProofing || fallback.NoProofing;
        if (!bold && !italic && !color && !noProof)
            return;
        mXml.writeStartElement(W, QStringLiteral("rPr"));
        if (bold)
            val(QStringLiteral("b"), *bold ? QStringLiteral("1") : QStringLiteral("0"));
        if (italic)
            val(QStringLiteral("i"), *italic ? QStringLiteral("1") : QStringLiteral("0"));
        if (noProof)
            mXml.writeEmptyElement(W, QStringLiteral("noProof"));
        if (color)
            val(QStringLiteral("color"), hex(*color));
        mXml.writeEndElement();
    }

    void text(const QString& value) {
        QString normalized = xmlSafe(value);
        normalized.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        normalized.replace(QLatin1Char('\r'), QLatin1Char('\n'));
        const QStringList lines = normalized.split(QLatin1Char('\n'));
        for (int n = 0; n < lines.size(); ++n) {
            if (n > 0)
                mXml.writeEmptyElement(W, QStringLiteral("br"));
            const QStringList pieces = lines[n].split(QLatin1Char('\t'));
            for (int t = 0; t < pieces.size(); ++t) {
                if (t > 0)
                    mXml.writeEmptyElement(W, QStringLiteral("tab"));
                if (pieces[t].isEmpty())
                    continue;
                mXml.writeStartElement(W, QStringLiteral("t"));
                mXml.writeAttribute(QStringLiteral("xml:space"), QStringLiteral("preserve"));
                mXml.writeCharacters(pieces[t]);
                mXml.writeEndElement();
            }
        }
    }

    void paragraph(const Paragraph& p) {
        mXml.writeStartElement(W, QStringLiteral("p"));
        const QString style =
            p.Style.isEmpty() ? QString() : mIds.value(p.Style.toLower(), styleIdOf(p.Style));
        const bool hasProperties = !style.isEmpty() || p.Shading || p.LeftIndentPt != 0 || p.Align;
        if (hasProperties) {
            mXml.writeStartElement(W, QStringLiteral("pPr"));
            if (!style.isEmpty())
                val(QStringLiteral("pStyle"), style);
            if (p.Shading)
                shading(*p.Shading);
            if (p.LeftIndentPt != 0) {
                mXml.writeEmptyElement(W, QStringLiteral("ind"));
                mXml.writeAttribute(W, QStringLiteral("left"),
                                    QString::number(std::lround(p.LeftIndentPt * 20)));
            }
            if (p.Align)
                val(QStringLiteral("jc"), *p.Align == Alignment::Center  ? QStringLiteral("center")
                                          : *p.Align == Alignment::Right ? QStringLiteral("right")
                                                                         : QStringLiteral("left"));
            mXml.writeEndElement();
        }
        for (const Run& run : p.Runs) {
            mXml.writeStartElement(W, QStringLiteral("r"));
            runProperties(run.Format, p.Format);
            if (run.PageBreak) {
                mXml.writeEmptyElement(W, QStringLiteral("br"));
                mXml.writeAttribute(W, QStringLiteral("type"), QStringLiteral("page"));
            }
            text(run.Text);
            mXml.writeEndElement();
        }
        mXml.writeEndElement();
    }

    static QList<int> columnWidths(const Table& t, int width) {
        double given = 0;
        int without = 0;
        for (int c = 0; c < t.Columns(); ++c) {
            if (c < t.ColumnWidthsPct.size())
                given += t.ColumnWidthsPct[c];
            else
                ++without;
        }
        const double rest = without > 0 ? std::max(0.0, 100.0 - given) / without : 0;
        const double total = given + rest * without;
        QList<int> widths;
        for (int c = 0; c < t.Columns(); ++c) {
            const double pct = c < t.ColumnWidthsPct.size() ? t.ColumnWidthsPct[c] : rest;
            widths.append(int(std::lround(width * pct / (total > 0 ? total : 100.0))));
        }
        return widths;
    }

    void table(const Table& t, int available) {
        const int width = int(std::lround(available * t.PreferredWidthPct / 100.0));
        const QList<int> widths = columnWidths(t, width);
        mXml.writeStartElement(W, QStringLiteral("tbl"));
        mXml.writeStartElement(W, QStringLiteral("tblPr"));
        mXml.writeEmptyElement(W, QStringLiteral("tblW"));
        mXml.writeAttribute(W, QStringLiteral("w"), QString::number(std::lround(t.PreferredWidthPct * 50)));
        mXml.writeAttribute(W, QStringLiteral("type"), QStringLiteral("pct"));
        mXml.writeStartElement(W, QStringLiteral("tblBorders"));
        for (const char* side : {"top", "left", "bottom", "right", "insideH", "insideV"}) {
            mXml.writeEmptyElement(W, QLatin1String(side));
            mXml.writeAttribute(W, QStringLiteral("val"),
                                t.Borders ? QStringLiteral("single") : QStringLiteral("none"));
            mXml.writeAttribute(W, QStringLiteral("sz"),
                                t.Borders ? QStringLiteral("4") : QStringLiteral("0"));
            mXml.writeAttribute(W, QStringLiteral("space"), QStringLiteral("0"));
            mXml.writeAttribute(W, QStringLiteral("color"),
                                t.Borders ? QStringLiteral("000000") : QStringLiteral("auto"));
        }
        mXml.writeEndElement();
        mXml.writeEmptyElement(W, QStringLiteral("tblLayout"));
        mXml.writeAttribute(W, QStringLiteral("type"), QStringLiteral("fixed"));
        mXml.writeEndElement();
        mXml.writeStartElement(W, QStringLiteral("tblGrid"));
        for (const int w : widths) {
            mXml.writeEmptyElement(W, QStringLiteral("gridCol"));
            mXml.writeAttribute(W, QStringLiteral("w"), QString::number(w));
        }
        mXml.writeEndElement();
        for (const auto& row : t.Rows()) {
            mXml.writeStartElement(W, QStringLiteral("tr"));
            for (int c = 0; c < t.Columns(); ++c)
                cell(row->Cells[c], widths[c]);
            mXml.writeEndElement();
        }
        mXml.writeEndElement();
    }

    void cell(const Cell& c, int width) {
        mXml.writeStartElement(W, QStringLiteral("tc"));
        mXml.writeStartElement(W, QStringLiteral("tcPr"));
        mXml.writeEmptyElement(W, QStringLiteral("tcW"));
        mXml.writeAttribute(W, QStringLiteral("w"), QString::number(width));
        mXml.writeAttribute(W, QStringLiteral("type"), QStringLiteral("dxa"));
        if (c.Shading)
            shading(*c.Shading);
        if (c.NoPadding) {
            mXml.writeStartElement(W, QStringLiteral("tcMar"));
            for (const char* side : {"top", "left", "bottom", "right"}) {
                mXml.writeEmptyElement(W, QLatin1String(side));
                mXml.writeAttribute(W, QStringLiteral("w"), QStringLiteral("0"));
                mXml.writeAttribute(W, QStringLiteral("type"), QStringLiteral("dxa"));
            }
            mXml.writeEndElement();
        }
        val(QStringLiteral("vAlign"), c.VAlign == VerticalAlignment::Center   ? QStringLiteral("center")
                                      : c.VAlign == VerticalAlignment::Bottom ? QStringLiteral("bottom")
                                                                              : QStringLiteral("top"));
        mXml.writeEndElement();
        blocks(c.Blocks(), width - (c.NoPadding ? 0 : 2 * kCellPadding), true);
        mXml.writeEndElement();
    }

    QXmlStreamWriter& mXml;
    const QHash<QString, QString>& mIds;
};

QString builtInStyleXml(const BuiltIn& builtIn, const QString& p) {
    const QString id = QLatin1String(builtIn.id);
    if (builtIn.level == 0)
        return QStringLiteral("<%1:style %1:type=\"paragraph\" %1:default=\"1\" %1:styleId=\"Normal\">"
                              "<%1:name %1:val=\"Normal\"/><%1:qFormat/></%1:style>")
            .arg(p);
    return QStringLiteral("<%1:style %1:type=\"paragraph\" %1:styleId=\"%2\"><%1:name %1:val=\"%3\"/>"
                          "<%1:basedOn %1:val=\"%4\"/><%1:next %1:val=\"%4\"/><%1:qFormat/>"
                          "<%1:pPr><%1:keepNext/><%1:spacing %1:before=\"240\" %1:after=\"120\"/>"
                          "<%1:outlineLvl %1:val=\"%5\"/></%1:pPr>"
                          "<%1:rPr><%1:b/><%1:color %1:val=\"002157\"/><%1:sz %1:val=\"%6\"/>"
                          "<%1:szCs %1:val=\"%6\"/></%1:rPr></%1:style>")
        .arg(p, id, QLatin1String(builtIn.name), QStringLiteral("Normal"))
        .arg(builtIn.level - 1)
        .arg(builtIn.halfPoints);
}

QString ownStyleXml(const ParagraphStyle& style, const QString& id, const QString& baseId, const QString& p) {
    QString xml = QStringLiteral("<%1:style %1:type=\"paragraph\" %1:customStyle=\"1\" %1:styleId=\"%2\">"
                                 "<%1:name %1:val=\"%3\"/>")
                      .arg(p, id, style.Name.toHtmlEscaped());
    if (!baseId.isEmpty())
        xml += QStringLiteral("<%1:basedOn %1:val=\"%2\"/>").arg(p, baseId);
    xml += QStringLiteral("<%1:qFormat/>").arg(p);
    if (style.Shading)
        xml += QStringLiteral("<%1:pPr><%1:shd %1:val=\"clear\" %1:color=\"auto\" %1:fill=\"%2\"/></%1:pPr>")
                   .arg(p, hex(*style.Shading));
    xml += QStringLiteral("<%1:rPr>").arg(p);
    if (!style.FontName.isEmpty())
        xml += QStringLiteral("<%1:rFonts %1:ascii=\"%2\" %1:hAnsi=\"%2\" %1:cs=\"%2\"/>")
                   .arg(p, style.FontName.toHtmlEscaped());
    if (style.NoProofing)
        xml += QStringLiteral("<%1:noProof/>").arg(p);
    if (style.Color)
        xml += QStringLiteral("<%1:color %1:val=\"%2\"/>").arg(p, hex(*style.Color));
    if (style.SizePt > 0)
        xml += QStringLiteral("<%1:sz %1:val=\"%2\"/><%1:szCs %1:val=\"%2\"/>")
                   .arg(p)
                   .arg(std::lround(style.SizePt * 2));
    xml += QStringLiteral("</%1:rPr></%1:style>").arg(p);
    return xml;
}

const QString kDefaultStyles = QStringLiteral(
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
    "<w:styles xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\">"
    "<w:docDefaults><w:rPrDefault><w:rPr><w:rFonts w:ascii=\"Verdana\" w:hAnsi=\"Verdana\" w:cs=\"Verdana\" "
    "w:eastAsia=\"Verdana\"/><w:sz w:val=\"20\"/><w:szCs w:val=\"20\"/><w:lang w:val=\"en-US\"/></w:rPr>"
    "</w:rPrDefault><w:pPrDefault><w:pPr><w:spacing w:after=\"60\"/></w:pPr></w:pPrDefault></w:docDefaults>"
    "<w:style w:type=\"table\" w:default=\"1\" w:styleId=\"TableNormal\"><w:name w:val=\"Normal Table\"/>"
    "<w:uiPriority w:val=\"99\"/><w:semiHidden/><w:tblPr><w:tblInd w:w=\"0\" w:type=\"dxa\"/><w:tblCellMar>"
    "<w:top w:w=\"0\" w:type=\"dxa\"/><w:left w:w=\"108\" w:type=\"dxa\"/><w:bottom w:w=\"0\" "
    "w:type=\"dxa\"/>"
    "<w:right w:w=\"108\" w:type=\"dxa\"/></w:tblCellMar></w:tblPr></w:style>"
    "</w:styles>");

} // namespace

struct Document::Package {
    QByteArray styles;
    QByteArray theme;
    QByteArray numbering;
};

Document::Document() = default;
Document::~Document() = default;

void Document::UseTemplate(const QString& path) {
    auto package = std::make_unique<Package>();
    QByteArray settings;
    for (const auto& [name, data] : ReadZip(path)) {
        if (name == QLatin1String("word/styles.xml"))
            package->styles = data;
        else if (name == QLatin1String("word/theme/theme1.xml"))
            package->theme = data;
        else if (name == QLatin1String("word/numbering.xml"))
            package->numbering = data;
        else if (name == QLatin1String("word/settings.xml"))
            settings = data;
    }
    if (package->styles.isEmpty())
        throw TARMOError(5792, QStringLiteral("Document"),
                         path + QStringLiteral(" is no Word document or template: it holds no styles."));
    readTemplateStyles(package->styles); // fails here, not at the save, on a damaged template
    mProtection = protectionOf(settings);
    mTemplate = std::move(package);
}

QByteArray Document::ToDocx() const {
    // Styles: the template's (or the defaults), less those that the document defines anew, plus
    // the document's own and the built-in ones that neither brings.
    TemplateStyles styles = readTemplateStyles(mTemplate ? mTemplate->styles : kDefaultStyles.toUtf8());
    QHash<QString, QString> ids = styles.idByName;
    QString added;
    for (const BuiltIn& builtIn : kBuiltIns)
        if (!ids.contains(QLatin1String(builtIn.name))) {
            added += builtInStyleXml(builtIn, styles.prefix);
            ids.insert(QLatin1String(builtIn.name), QLatin1String(builtIn.id));
        }
    QString text = styles.text;
    for (qsizetype n = styles.styleRanges.size() - 1; n >= 0; --n)
        if (Style(styles.styleNames[n]))
            text.remove(styles.styleRanges[n].first,
                        styles.styleRanges[n].second - styles.styleRanges[n].first);
    for (const ParagraphStyle& style : mStyles) {
        const QString id = styleIdOf(style.Name);
        ids.insert(style.Name.toLower(), id);
    }
    for (const ParagraphStyle& style : mStyles)
        added += ownStyleXml(style, ids.value(style.Name.toLower()), ids.value(style.BaseStyle.toLower()),
                             styles.prefix);
    const QString closing = QStringLiteral("</") +
                            (styles.prefix.isEmpty() ? QString() : styles.prefix + QLatin1Char(':')) +
                            QStringLiteral("styles>");
    text.insert(text.lastIndexOf(closing), added);

    QByteArray body;
    {
        QXmlStreamWriter xml(&body);
        xml.writeStartDocument(QStringLiteral("1.0"), true);
        xml.writeNamespace(W, QStringLiteral("w"));
        xml.writeNamespace(R, QStringLiteral("r"));
        xml.writeStartElement(W, QStringLiteral("document"));
        xml.writeStartElement(W, QStringLiteral("body"));
        BodyWriter(xml, ids).blocks(mBlocks, kTextWidth, false);
        xml.writeStartElement(W, QStringLiteral("sectPr"));
        xml.writeEmptyElement(W, QStringLiteral("pgSz"));
        xml.writeAttribute(W, QStringLiteral("w"), QString::number(kPageWidth));
        xml.writeAttribute(W, QStringLiteral("h"), QString::number(kPageHeight));
        xml.writeEmptyElement(W, QStringLiteral("pgMar"));
        for (const auto& [side, value] : {std::pair{"top", 1417},
                                          {"right", kMarginSide},
                                          {"bottom", 1134},
                                          {"left", kMarginSide},
                                          {"header", 708},
                                          {"footer", 708},
                                          {"gutter", 0}})
            xml.writeAttribute(W, QLatin1String(side), QString::number(value));
        xml.writeEndElement();
        xml.writeEndElement();
        xml.writeEndElement();
        xml.writeEndDocument();
    }

    QByteArray settings;
    {
        QXmlStreamWriter xml(&settings);
        xml.writeStartDocument(QStringLiteral("1.0"), true);
        xml.writeNamespace(W, QStringLiteral("w"));
        xml.writeStartElement(W, QStringLiteral("settings"));
        if (mProtection != NoProtection) {
            xml.writeEmptyElement(W, QStringLiteral("documentProtection"));
            xml.writeAttribute(W, QStringLiteral("edit"), protectionEdit(mProtection));
            xml.writeAttribute(W, QStringLiteral("enforcement"), QStringLiteral("1"));
        }
        xml.writeEmptyElement(W, QStringLiteral("defaultTabStop"));
        xml.writeAttribute(W, QStringLiteral("val"), QStringLiteral("708"));
        xml.writeEndElement();
        xml.writeEndDocument();
    }

    const QString docType = QStringLiteral("application/vnd.openxmlformats-officedocument.wordprocessingml.");
    QString types =
        QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                       "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
                       "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package."
                       "relationships+xml\"/><Default Extension=\"xml\" ContentType=\"application/xml\"/>"
                       "<Override PartName=\"/word/document.xml\" ContentType=\"%1document.main+xml\"/>"
                       "<Override PartName=\"/word/styles.xml\" ContentType=\"%1styles+xml\"/>"
                       "<Override PartName=\"/word/settings.xml\" ContentType=\"%1settings+xml\"/>")
            .arg(docType);
    QString rels = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                                  "<Relationships xmlns=\"%1\">"
                                  "<Relationship Id=\"rId1\" Type=\"%2styles\" Target=\"styles.xml\"/>"
                                  "<Relationship Id=\"rId2\" Type=\"%2settings\" Target=\"settings.xml\"/>")
                       .arg(RelationshipsNs, OfficeRel);
    ZipEntries entries;
    if (mTemplate && !mTemplate->theme.isEmpty()) {
        types += QStringLiteral("<Override PartName=\"/word/theme/theme1.xml\" "
                                "ContentType=\"application/vnd.openxmlformats-officedocument.theme+xml\"/>");
        rels += QStringLiteral("<Relationship Id=\"rId3\" Type=\"%1theme\" Target=\"theme/theme1.xml\"/>")
                    .arg(OfficeRel);
    }
    if (mTemplate && !mTemplate->numbering.isEmpty()) {
        types +=
            QStringLiteral("<Override PartName=\"/word/numbering.xml\" ContentType=\"%1numbering+xml\"/>")
                .arg(docType);
        rels += QStringLiteral("<Relationship Id=\"rId4\" Type=\"%1numbering\" Target=\"numbering.xml\"/>")
                    .arg(OfficeRel);
    }
    types += QStringLiteral("</Types>");
    rels += QStringLiteral("</Relationships>");

    entries.append({QStringLiteral("[Content_Types].xml"), types.toUtf8()});
    entries.append(
        {QStringLiteral("_rels/.rels"),
         QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                        "<Relationships xmlns=\"%1\"><Relationship Id=\"rId1\" Type=\"%2officeDocument\" "
                        "Target=\"word/document.xml\"/></Relationships>")
             .arg(RelationshipsNs, OfficeRel)
             .toUtf8()});
    entries.append({QStringLiteral("word/_rels/document.xml.rels"), rels.toUtf8()});
    entries.append({QStringLiteral("word/document.xml"), body});
    entries.append({QStringLiteral("word/styles.xml"), text.toUtf8()});
    entries.append({QStringLiteral("word/settings.xml"), settings});
    if (mTemplate && !mTemplate->theme.isEmpty())
        entries.append({QStringLiteral("word/theme/theme1.xml"), mTemplate->theme});
    if (mTemplate && !mTemplate->numbering.isEmpty())
        entries.append({QStringLiteral("word/numbering.xml"), mTemplate->numbering});
    return BuildZip(entries);
}

void Document::SaveAs(const QString& fileName) const {
    const QByteArray bytes = ToDocx();
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw TARMOError(75, QStringLiteral("Document"),
                         QStringLiteral("The document could not be saved as ") + fileName +
                             QStringLiteral(": ") + file.errorString());
}

} // namespace word
