#include "BenchExpand.h"

#include "BenchProject.h"
#include "DatabaseTree.h"
#include "ImageList.h"
#include "TARMODBTItems.h"
#include "TARMOIcons.h"
#include "TARMOSQL.h"
#include "TARMOStoredProcedures.h"
#include "TARMOVSS.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

// The median and the minimum of `runs` timings of one step, each in a fresh window that is drawn.
struct Timing {
    qint64 min = 0;
    qint64 median = 0;
};

Timing Time(int runs, const std::function<void()>& step) {
    QList<qint64> ms;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        step();
        ms.append(timer.elapsed());
    }
    std::sort(ms.begin(), ms.end());
    return {ms.first(), ms[ms.size() / 2]};
}

} // namespace

int RunExpandBenchmark(const BenchProject& project, int runs) {
    TARMOSQL sql;
    TARMOVSS vss;
    if (!project.Connect(sql, vss))
        return 1;
    TARMOIcons icons;
    TARMOStoredProcedures procedures;
    procedures.SetActiveDBConnection(&sql);
    procedures.SetActiveVSSConnection(&vss);
    procedures.SetIcons(&icons);
    procedures.LoadIcons();
    const std::unique_ptr<TARMODBTItems> records = procedures.GetItemInfo(false);
    const int count = records ? records->Count() : 0;
    if (count == 0) {
        std::fprintf(stderr, "tarmo-bench: the project has no procedures\n");
        return 1;
    }

    const ImageList images;
    const Timing tree = Time(runs, [&] {
        DatabaseTree view(images);
        view.resize(400, 800);
        view.show();
        auto* node = new QTreeWidgetItem(&view);
        node->setText(0, QStringLiteral("Stored Procedures"));
        // As a click on the plus sign does: the node is open when its children arrive.
        node->setExpanded(true);
        view.AddItems(*records, node, QString(), false);
        QApplication::processEvents();
        view.repaint();
    });

    const QIcon icon = images.IconAt(1);
    const Timing floor = Time(runs, [&] {
        QTreeWidget view;
        view.resize(400, 800);
        view.show();
        auto* node = new QTreeWidgetItem(&view);
        node->setText(0, QStringLiteral("Stored Procedures"));
        QList<QTreeWidgetItem*> items;
        items.reserve(count);
        for (int i = 0; i < count; ++i) {
            auto* item = new QTreeWidgetItem;
            item->setText(0, QStringLiteral("dbo.spProcedure%1").arg(i));
            item->setIcon(0, icon);
            items.append(item);
        }
        node->setExpanded(true);
        node->addChildren(items);
        QApplication::processEvents();
        view.repaint();
    });
    std::printf("nodes=%d runs=%d min_ms=%lld median_ms=%lld floor_min_ms=%lld floor_median_ms=%lld\n", count,
                runs, tree.min, tree.median, floor.min, floor.median);
    return 0;
}
