#include "WordDocument.h"
#include "TestSupport.h"
#include "ZipArchive.h"

#include <QFile>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

namespace {

// The parts of a saved document by name; every part must be well formed XML.
QHash<QString, QByteArray> partsOf(const QString& path) {
    QHash<QString, QByteArray> parts;
    for (const auto& [name, data] : word::ReadZip(path)) {
        QXmlStreamReader xml(data);
        while (!xml.atEnd())
            xml.readNext();
        EXPECT_FALSE(xml.hasError()) << qPrintable(name) << ": " << qPrintable(xml.errorString());
        parts.insert(name, data);
    }
    return parts;
}

// The element names of a part in document order, each with its w:val where it has one.
QStringList elementsOf(const QByteArray& xml) {
    QStringList names;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement) {
            const QString value = reader.attributes().value(QStringLiteral("w:val")).toString();
            names << (value.isEmpty() ? reader.name().toString()
                                      : reader.name().toString() + QLatin1Char('=') + value);
        }
    return names;
}

} // namespace

// A document with the package parts a word processor looks for, and the body in the order the
// schema asks: properties before content, a cell that ends in a nested table still ends in a
// paragraph, widths and shading where they were set.
TEST(WordDocumentTest, SavedPackageHasTheBodyInSchemaOrder) {
    TempFolder dir;
    word::Document document;
    document.AddParagraph(QStringLiteral("Title"), word::BuiltinStyle::Heading1);
    word::Table& table = document.AddTable(1, 2);
    table.ColumnWidthsPct = {30, 70};
    word::Cell& cell = table.At(1, 2);
    cell.Shading = 0x333333;
    cell.VAlign = word::VerticalAlignment::Center;
    cell.NoPadding = true;
    word::Table& nested = cell.AddTable(1, 2);
    nested.Borders = false;
    nested.At(1, 1).FirstParagraph().AddRun(QStringLiteral("inner"));
    word::Paragraph& paragraph = document.AddParagraph();
    paragraph.Align = word::Alignment::Center;
    paragraph.LeftIndentPt = 35.4;
    word::RunFormat red;
    red.Bold = true;
    red.Color = 0xD20000;
    paragraph.AddRun(QStringLiteral("a\tb\r\nc"), red);
    document.AddPageBreak();
    const QString path = dir.Path(QStringLiteral("d.docx"));
    document.SaveAs(path);

    const QHash<QString, QByteArray> parts = partsOf(path);
    for (const char* part : {"[Content_Types].xml", "_rels/.rels", "word/_rels/document.xml.rels",
                             "word/document.xml", "word/styles.xml", "word/settings.xml"})
        EXPECT_TRUE(parts.contains(QLatin1String(part))) << part;
    const QString body = elementsOf(parts.value(QStringLiteral("word/document.xml"))).join(QLatin1Char(' '));
    EXPECT_TRUE(body.contains(QStringLiteral("p pPr pStyle=Heading1 r t"))) << qPrintable(body);
    EXPECT_TRUE(body.contains(QStringLiteral(
        "tblGrid gridCol gridCol tr tc tcPr tcW vAlign=top p tc tcPr tcW shd=clear tcMar top left "
        "bottom right vAlign=center tbl")))
        << qPrintable(body);
    EXPECT_TRUE(
        body.contains(QStringLiteral("vAlign=top p r t tc tcPr tcW vAlign=top p p p pPr ind jc=center r rPr "
                                     "b=1 color=D20000 t tab t br t p r br")))
        << qPrintable(body);
    const QByteArray xml = parts.value(QStringLiteral("word/document.xml"));
    EXPECT_TRUE(xml.contains("w:left=\"708\""));
    EXPECT_TRUE(xml.contains("<w:gridCol w:w=\"2722\"/><w:gridCol w:w=\"6350\"/>")) << xml.constData();
    EXPECT_TRUE(xml.contains("w:type=\"page\""));
    // Without a template the built-in styles come from the document's own styles part.
    EXPECT_TRUE(parts.value(QStringLiteral("word/styles.xml")).contains("<w:name w:val=\"heading 1\"/>"));
}

// Characters that XML can't carry (a source file may hold a form feed or a NUL) become replacement
// characters instead of breaking the document.
TEST(WordDocumentTest, ControlCharactersDoNotBreakTheXml) {
    TempFolder dir;
    word::Document document;
    document.AddParagraph(QStringLiteral("page\fbreak") + QChar(0) + QChar(0xD800) + QStringLiteral("😀"));
    document.SaveAs(dir.Path(QStringLiteral("c.docx")));
    const QByteArray xml =
        partsOf(dir.Path(QStringLiteral("c.docx"))).value(QStringLiteral("word/document.xml"));
    EXPECT_TRUE(QString::fromUtf8(xml).contains(QStringLiteral("page\uFFFDbreak\uFFFD\uFFFD😀")));
}

// A template's styles come over whatever their ids, a style of the document's own replaces the
// template's of that name, and protection blocks new styles until it is lifted.
TEST(WordDocumentTest, TemplateStylesAndProtection) {
    TempFolder dir;
    const QString dotx = dir.Path(QStringLiteral("t.dotx"));
    QFile file(dotx);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(word::BuildZip(
        {{QStringLiteral("word/styles.xml"),
          "<w:styles xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\">"
          "<w:style w:type=\"paragraph\" w:styleId=\"Titre2\"><w:name w:val=\"heading 2\"/></w:style>"
          "<w:style w:type=\"paragraph\" w:styleId=\"Code\"><w:name w:val=\"Code\"/><w:rPr><w:color "
          "w:val=\"00FF00\"/></w:rPr></w:style></w:styles>"},
         {QStringLiteral("word/settings.xml"),
          "<w:settings xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\">"
          "<w:documentProtection w:edit=\"forms\" w:enforcement=\"1\"/></w:settings>"}}));
    file.close();

    word::Document document;
    document.UseTemplate(dotx);
    EXPECT_EQ(document.ProtectionType(), 2);
    word::ParagraphStyle code;
    code.Name = QStringLiteral("Code");
    code.Color = 0x808080;
    EXPECT_EQ(ErrorOf([&] { document.AddStyle(code); }).number, 4605);
    document.Unprotect();
    document.AddStyle(code);
    document.Protect(2);
    document.AddParagraph(QStringLiteral("h"), word::BuiltinStyle::Heading2);
    document.AddParagraph(QStringLiteral("c"), QStringLiteral("Code"));
    document.SaveAs(dir.Path(QStringLiteral("out.docx")));

    const QHash<QString, QByteArray> parts = partsOf(dir.Path(QStringLiteral("out.docx")));
    const QByteArray styles = parts.value(QStringLiteral("word/styles.xml"));
    EXPECT_EQ(styles.count("w:styleId=\"Code\""), 1);
    EXPECT_FALSE(styles.contains("00FF00"));
    EXPECT_TRUE(styles.contains("808080"));
    EXPECT_FALSE(styles.contains("w:styleId=\"Heading2\""));
    const QByteArray body = parts.value(QStringLiteral("word/document.xml"));
    EXPECT_TRUE(body.contains("<w:pStyle w:val=\"Titre2\"/>"));
    EXPECT_TRUE(parts.value(QStringLiteral("word/settings.xml")).contains("w:edit=\"forms\""));

    const QString notZip = dir.Path(QStringLiteral("plain.dotx"));
    QFile plain(notZip);
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.write("not a zip");
    plain.close();
    word::Document other;
    EXPECT_NE(ErrorOf([&] { other.UseTemplate(notZip); }).number, 0);
    EXPECT_NE(ErrorOf([&] { other.UseTemplate(dir.Path(QStringLiteral("missing.dotx"))); }).number, 0);
}
