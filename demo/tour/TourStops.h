#pragma once

namespace zorbel {

class DemoControl;
class GuidedTour;

// The stops of the guided tour, in the order in which they are planned. Each part leaves the window as the
// next one expects it: signed in, no dialog open, the 2 × 2 layout.

/// Sign-in as the demo service's reader, with a wrong password first.
void planSignIn(GuidedTour& tour);
/// The jaw volume, and moving through it.
void planVolume(GuidedTour& tour);
/// Every source of images, and what is refused. control: must outlive the tour.
void planSources(GuidedTour& tour, DemoControl& control);
/// Layouts, oblique planes, slab, windows, 3D display and the keys, on the jaw volume.
void planWorkspace(GuidedTour& tour);
/// The diagnostics pane over the jaw volume: facts, log, and what a support bundle would hold.
void planDiagnostics(GuidedTour& tour);
/// Panoramic and cephalometric images, turned and inverted.
void planImages(GuidedTour& tour);
/// Measurements, findings and key images, on the jaw volume and on the panoramic image.
void planRecords(GuidedTour& tour);
/// Key images, and the jaw's report: from the template to its versions, through LibreOffice where it is
/// installed. control: must outlive the tour.
void planReport(GuidedTour& tour, DemoControl& control);
/// A study of several series.
void planSeriesChoice(GuidedTour& tour);
/// A session that ends over the jaw volume, declined and renewed. control: must outlive the tour.
void planSession(GuidedTour& tour, DemoControl& control);
/// Each section of the settings, a node connected, the cache cleared; from then on nothing outlives the
/// session.
void planSettings(GuidedTour& tour);
/// A newer version offered, downloaded, and one that somebody else signed. control: must outlive the tour.
void planUpdates(GuidedTour& tour, DemoControl& control);
/// Every listed study that was not opened yet: what the user imported.
void planFurtherStudies(GuidedTour& tour);

// Each in a program of its own, signed in again:

/// A study is open, and the program is ended as by a fault.
void planCrash(GuidedTour& tour);
/// What the next start says of it, and the study recovered.
void planAfterCrash(GuidedTour& tour);

} // namespace zorbel
