// The report: one page that needs nothing beside itself. It is gathered record by record and put together at
// the end, for what stands on top is known last.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "terminal/RouteRecords.h"
#include "terminal/report/Details.h"

namespace Report {

struct Heading {
    std::string title;     // what the route is
    std::string subtitle;  // where it comes from and of when it is
};

class Page {
public:
    // `meters`: of the whole route. The details of a long route are put into the page so that a browser looks
    // at them when they are opened.
    explicit Page(int meters) : m_isLong(meters > kMostOpened), m_phrases(m_isLong) {}

    void Add(const RouteRecord& record, const Sentences& findings);

    // Writes the page, piece by piece.
    void Write(const Heading& heading, const std::function<void(std::string_view html)>& write) const;

private:
    static constexpr int kMostOpened = 300;
    static constexpr std::size_t kMostDeviations = 200;  // that are listed on top

    // A meter with its appendices.
    struct Meter {
        int place = 0;
        std::string summary;
        std::string details;
        std::string stateClass;
        std::string state;
        std::string action;
        bool isToDo = false;
        bool hasAlarm = false;
        bool deviates = false;
    };

    struct Deviation {
        int meter = 0;
        std::string row;
    };

    struct Count {
        std::string stateClass;
        int meters = 0;
    };

    std::string Top(const Heading& heading) const;
    std::string Progress() const;
    std::string ToDo() const;
    std::string Deviations() const;
    std::string Html(const Meter& meter) const;

    bool m_isLong;
    Phrases m_phrases;
    std::vector<Meter> m_meters;
    std::vector<Deviation> m_deviations;
    bool m_isVisited = false;
    std::size_t m_deviating = 0;  // values, those that are not listed too
};

}  // namespace Report
