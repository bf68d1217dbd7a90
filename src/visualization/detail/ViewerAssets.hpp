#pragma once

// The fixed parts of the viewer page: its style sheet, its markup around the data, and its
// script. The page is assembled by renderViewerPage.

#include <string_view>

namespace tavreldi::detail {

/// The page's style sheet (the contents of its <style> element).
extern const std::string_view kViewerStyle;
/// The markup of the page body before the data element: header, tabs and empty screens.
extern const std::string_view kViewerBody;
/// The page's script (the contents of its last <script> element). It reads the JSON document
/// of the element with id "viewer-data" and draws every screen from it with text nodes only.
extern const std::string_view kViewerScript;

}  // namespace tavreldi::detail
