// For end-to-end runs of pkiui-demo view: where the viewer's controls are on
// the screen and what it shows, printed as they change, and screenshots.
#pragma once

namespace pkiui::demo {

// With PKIUI_DEMO_TRACE set, prints for every viewer window n shown
//   at n NAME X Y       screen centre of a control (tabs, rows, buttons)
//   content n TEXT      first line of the details tab's content pane
// and with PKIUI_DEMO_SHOTS=DIR saves the screen under the window to
// DIR/x11-n-TAB.png each time a tab is shown (x11-n-content.png once the
// content pane has changed).
void traceViewersIfAsked();

} // namespace pkiui::demo
