#include "SqlXml.h"

#include <gtest/gtest.h>

namespace {

long ErrorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const Xml::Error& e) {
        return e.number;
    }
    return 0;
}

// The query's result on the document as query() gives it.
std::string Answer(const char* xml, const char* query) {
    const Xml::Document doc(QString::fromUtf8(xml));
    const Xml::Query q(QString::fromUtf8(query), QStringLiteral("query()"));
    return Xml::Query::Serialize(doc, q.Run(doc, 0, {})).toStdString();
}

TEST(XmlDocument, ReadsFragmentsAndWritesAsTheServer) {
    // Several top elements, blanks between elements dropped, entities undone and written back,
    // a declaration ignored, empty elements as <a />.
    EXPECT_EQ(
        Answer("<?xml version=\"1.0\"?>\n<a x=\"1 &amp; &quot;2&quot;\">\n  <b/>\n</a><c>t&lt;</c>", "/"),
        "<a x=\"1 &amp; &quot;2&quot;\"><b /></a><c>t&lt;</c>");
    // A node taken out keeps the namespace it was declared under.
    EXPECT_EQ(Answer("<p:a xmlns:p=\"urn:x\"><p:b>1</p:b></p:a>", "/*/*"), "<p:b xmlns:p=\"urn:x\">1</p:b>");
}

TEST(XmlDocument, RefusesMalformedAndTooDeepText) {
    EXPECT_EQ(ErrorOf([] { Xml::Document d(QStringLiteral("<a><b></a>")); }), 9400);
    EXPECT_EQ(ErrorOf([] { Xml::Document d(QStringLiteral("<a>")); }), 9400);
    QString deep;
    for (int i = 0; i < Xml::kMaxDepth + 1; ++i)
        deep += QStringLiteral("<e>");
    EXPECT_EQ(ErrorOf([&] { Xml::Document d(deep); }), 6335);
    QString fine;
    for (int i = 0; i < Xml::kMaxDepth; ++i)
        fine = QStringLiteral("<e>") + fine + QStringLiteral("</e>");
    EXPECT_EQ(ErrorOf([&] { Xml::Document d(fine); }), 0);
}

TEST(XmlQuery, PositionsApplyPerStepAndToParenthesisedSequences) {
    const char* doc = "<r><a><b>1</b><b>2</b></a><a><b>3</b></a></r>";
    EXPECT_EQ(Answer(doc, "/r/a/b[1]"), "<b>1</b><b>3</b>");
    EXPECT_EQ(Answer(doc, "(/r/a/b)[1]"), "<b>1</b>");
    EXPECT_EQ(Answer(doc, "(//b)[last()]"), "<b>3</b>");
    EXPECT_EQ(Answer(doc, "//b[. >= 2]/../b[1]"), "<b>1</b><b>3</b>");
    EXPECT_EQ(Answer(doc, "count(//b) + sum(//b) (: a comment :)"), "9");
    EXPECT_EQ(Answer(doc, "/r/a[2]/b/text()"), "3");
    EXPECT_EQ(Answer(doc, "data(//b)"), "1 2 3");
}

TEST(XmlQuery, SingletonRuleFollowsStaticCardinality) {
    const auto singleton = [](const char* q) {
        return ErrorOf(
            [&] { Xml::Query(QString::fromUtf8(q), QStringLiteral("value()")).RequireSingleton(); });
    };
    for (const char* ok : {".", "@id", "(/a)[1]", "/a[1]/@x", "../@id", "count(/a)", "string(.)",
                           "(//b)[last()]", "/a[1]/b[2]/@c", "sql:variable(\"@v\")"})
        EXPECT_EQ(singleton(ok), 0) << ok;
    for (const char* many : {"/a", "a/@x", "text()", "//b[1]/c", "data(/a)", "/a/@*", "(/a, /b)"})
        EXPECT_EQ(singleton(many), 2389) << many;
}

TEST(XmlQuery, RefusesWhatItCannotReadWithoutCrashing) {
    const auto error = [](const QString& q) {
        return ErrorOf([&] { Xml::Query(q, QStringLiteral("query()")); });
    };
    EXPECT_EQ(error(QStringLiteral("/a[")), 2209);
    EXPECT_EQ(error(QStringLiteral("")), 2209);
    EXPECT_EQ(error(QStringLiteral("nosuch()")), 2395);
    EXPECT_EQ(error(QStringLiteral("/p:a")), 2229);
    EXPECT_EQ(error(QStringLiteral("for $i in /a return $i")), 50001);
    EXPECT_EQ(error(QString(200, u'(') + u'1' + QString(200, u')')), 50001);
    EXPECT_EQ(error(QString(500, u'-') + u'1'), 50001);
    // Long runs of steps or operators would be read into trees as deep as they are long.
    EXPECT_EQ(error(QStringLiteral("/a").repeated(2000)), 50001);
    EXPECT_EQ(error(u'1' + QStringLiteral("+1").repeated(2000)), 50001);
    EXPECT_EQ(error(QStringLiteral("/a").repeated(500)), 0);
    // Odd text fails as an error or runs, never worse.
    const Xml::Document doc(QStringLiteral("<a b=\"1\">x</a>"));
    for (const char* q : {"/", "//", "@", "..", "*:", "a:*", "'x", "1e", "[1]", "/a[1][2]/..", "a/@b/c",
                          "substring(., 1e308, -1e308)", "1 div 0", "1 mod 0", "string(())", "-(/a)"}) {
        try {
            const Xml::Query query(QString::fromUtf8(q), QStringLiteral("query()"));
            Xml::Query::Serialize(doc, query.Run(doc, 0, {}));
        } catch (const Xml::Error&) {
        }
    }
}

} // namespace
