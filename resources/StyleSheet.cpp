#include "resources/StyleSheet.h"

#include "resources/Resources.h"

namespace zorbel {

QString applicationStyleSheet() {
    return QStringLiteral(R"(
QWidget { background: #F7F9FB; color: #0F172A; font-family: "Poppins", "Inter", "Segoe UI", "DejaVu Sans"; font-size: 13px; }
QLabel { background: transparent; }
QToolTip { background: #0B1F3A; color: #F1F6FB; border: 1px solid #1D4F7A; padding: 5px 7px; }

QPushButton { background: #FFFFFF; border: 1px solid #CBD5E1; border-radius: 8px; padding: 7px 16px; font-weight: 600; color: #002B5B; }
QPushButton:hover { background: #EAF8FC; border-color: #75D2E5; }
QPushButton:pressed { background: #D3F0F8; }
QPushButton:focus { border: 2px solid #18B6D9; padding: 6px 15px; }
QPushButton:disabled { color: #94A3B8; background: #F1F5F9; border-color: #E2E8F0; }
QPushButton:default { background: #002B5B; color: #FFFFFF; border-color: #002B5B; }
QPushButton:default:hover { background: #0B3D78; }
QPushButton:default:disabled { background: #94A3B8; border-color: #94A3B8; color: #F8FAFC; }

QLineEdit, QComboBox { background: #FFFFFF; border: 1px solid #CBD5E1; border-radius: 8px; padding: 7px 10px; selection-background-color: #18B6D9; }
QLineEdit:focus, QComboBox:focus { border: 2px solid #18B6D9; padding: 6px 9px; }
QLineEdit:disabled { background: #F1F5F9; color: #64748B; }
QComboBox::drop-down { border: 0; width: 26px; }
QComboBox::down-arrow { image: url("%1"); width: 16px; height: 16px; margin-right: 10px; }
QDialogButtonBox, QMessageBox { dialogbuttonbox-buttons-have-icons: 0; }
QComboBox QAbstractItemView { background: #FFFFFF; border: 1px solid #CBD5E1; selection-background-color: #DFF4FA; selection-color: #002B5B; }

QToolBar#mainToolBar { background: #FFFFFF; border: 0; border-bottom: 1px solid #D8E2EC; padding: 6px 10px; spacing: 6px; }
QToolBar#mainToolBar QWidget { background: transparent; }
QToolBar#mainToolBar QToolButton { border: 1px solid transparent; border-radius: 8px; padding: 7px 11px; font-weight: 600; color: #002B5B; }
QToolBar#mainToolBar QToolButton:hover { background: #EAF8FC; border-color: #BFE8F2; }
QToolBar#mainToolBar QToolButton:focus { border-color: #18B6D9; }
QToolBar#mainToolBar QToolButton:checked { background: #DFF4FA; border-color: #75D2E5; }
QToolBar#mainToolBar QToolButton:disabled { color: #94A3B8; }
QToolBar#crashNoticeBar { background: #FEF3C7; border: 0; border-bottom: 1px solid #F5D98A; padding: 5px 10px; spacing: 8px; }
QToolBar#crashNoticeBar QLabel { color: #92400E; font-weight: 600; padding: 0 6px; }
QToolBar#crashNoticeBar QPushButton { padding: 4px 14px; margin-left: 8px; }
QToolBar#crashNoticeBar QPushButton:focus { padding: 3px 13px; }
QLabel#identityText { font-weight: 600; color: #0F172A; }
QLabel#identityCaption { font-size: 11px; color: #64748B; }

QWidget#studyBrowser { background: #FFFFFF; border-right: 1px solid #D8E2EC; }
QWidget#studyBrowser QWidget { background: #FFFFFF; }
QLabel#zorbelBrandTitle { font-size: 19px; font-weight: 700; color: #002B5B; }
QLabel#zorbelBrandSubtitle { font-size: 12px; color: #64748B; }
QLabel#zorbelStatus { font-size: 11px; color: #64748B; padding: 2px; }
QLabel#zorbelStatusError { font-size: 12px; color: #B42318; background: #FEF3F2; border: 1px solid #FECDCA; border-radius: 8px; padding: 8px; }
QFrame#measurementPanel, QFrame#measurementPanel QWidget { background: #FFFFFF; }
QFrame#measurementPanel { border-top: 1px solid #D8E2EC; border-right: 1px solid #D8E2EC; }
QLabel#panelTitle { font-size: 13px; font-weight: 700; color: #002B5B; }
QFrame#measurementPanel QToolButton { border: 1px solid #CBD5E1; border-radius: 6px; padding: 3px 5px; color: #002B5B; font-weight: 600; font-size: 12px; }
QFrame#measurementPanel QToolButton:focus { border-color: #18B6D9; }
QFrame#measurementPanel QToolButton:hover { background: #EAF8FC; }
QFrame#measurementPanel QToolButton:disabled { color: #94A3B8; }
QTreeWidget#measurementList { border: 1px solid #E2E8F0; border-radius: 8px; font-size: 12px; selection-background-color: #DFF4FA; selection-color: #002B5B; }
QTreeWidget#measurementList::item { padding: 2px 0; }
QTreeWidget#measurementList QLineEdit { border: 1px solid #18B6D9; border-radius: 2px; padding: 0 2px; font-size: 12px; }
QListWidget#studyList { background: #FFFFFF; border: 1px solid #E2E8F0; border-radius: 10px; outline: 0; padding: 4px; }
QListWidget#studyList:focus { border-color: #75D2E5; }
QListWidget#studyList::item { padding: 9px 10px; border-radius: 7px; color: #0F172A; border-bottom: 1px solid #F1F5F9; }
QListWidget#studyList::item:hover { background: #F1F8FC; }
QListWidget#studyList::item:selected { background: #DFF4FA; color: #002B5B; }
QWidget#studyBrowser QToolButton[scope="true"] { background: #F1F5F9; border: 1px solid #E2E8F0; border-radius: 8px; padding: 6px; font-weight: 600; color: #475569; }
QWidget#studyBrowser QToolButton[scope="true"]:focus { border: 2px solid #18B6D9; padding: 5px; }
QWidget#studyBrowser QToolButton[scope="true"]:checked { background: #002B5B; border-color: #002B5B; color: #FFFFFF; }

QSplitter#workspaceSplitter::handle { background: #D8E2EC; width: 1px; }
QFrame#viewerHeader { background: #FFFFFF; color: #0F172A; border: 1px solid #D8E2EC; border-radius: 12px; }
QLabel#viewerTitle { font-size: 16px; font-weight: 700; color: #002B5B; }
QLabel#viewerSubtitle { font-size: 12px; color: #475569; }
QLabel[chip="true"] { background: #E3F7FC; color: #0B5E75; border: 1px solid #A8E3F0; border-radius: 10px; padding: 4px 11px; font-size: 11px; font-weight: 800; }

QToolButton#reportChip { border: 1px solid #A8E3F0; border-radius: 10px; padding: 4px 11px; font-size: 11px; font-weight: 800; background: #E3F7FC; color: #0B5E75; }
QToolButton#reportChip:focus { border-width: 2px; padding: 3px 10px; }
QToolButton#reportChip[reportState="preparing"] { background: #E2E8F0; color: #334155; border-color: #CBD5E1; }
QToolButton#reportChip[reportState="synced"] { background: #DCFCE7; color: #166534; border-color: #A7E0BA; }
QToolButton#reportChip[reportState="unsynced"] { background: #FEF3C7; color: #92400E; border-color: #F5D98A; }
QToolButton#reportChip[reportState="failed"] { background: #FEE2E2; color: #991B1B; border-color: #F5B5B5; }
QToolButton#reportChip:hover { border-color: #0B5E75; }

QWidget#viewerToolRail { background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #071C34, stop:1 #041426); border: 1px solid #1D4F7A; border-radius: 14px; }
QScrollArea#viewerToolRailContent, QScrollArea#viewerToolRailContent > QWidget { background: transparent; border: 0; }
QLabel#railGroup { color: #7FA6C6; font-size: 9px; font-weight: 700; letter-spacing: 1px; padding-top: 3px; }
QWidget#viewerToolRail QToolButton { background: transparent; color: #DCEBF7; border: 1px solid transparent; border-radius: 8px; padding: 3px 1px 2px 1px; font-size: 10px; }
QWidget#viewerToolRail QToolButton:hover { background: #12395F; border-color: #1D4F7A; }
QWidget#viewerToolRail QToolButton:checked { background: #155A86; border-color: #39B4DA; color: #FFFFFF; }
QWidget#viewerToolRail QToolButton:focus { border-color: #FFFFFF; }
QWidget#viewerToolRail QComboBox:focus, QWidget#viewerToolRail QSpinBox:focus { border: 1px solid #FFFFFF; padding: 0 4px; }
QWidget#viewerToolRail QToolButton:disabled { color: #4E6A85; background: transparent; border-color: transparent; }

QWidget#viewerToolRail QComboBox, QWidget#viewerToolRail QSpinBox { background: #0B2542; color: #DCEBF7; border: 1px solid #1D4F7A; border-radius: 6px; padding: 0 4px; font-size: 10px; }
QWidget#viewerToolRail QComboBox::drop-down { width: 12px; }
QWidget#viewerToolRail QComboBox::down-arrow { width: 8px; height: 8px; margin-right: 2px; }
QWidget#viewerToolRail QComboBox:disabled, QWidget#viewerToolRail QSpinBox:disabled { color: #4E6A85; border-color: #163A5A; }
QWidget#viewerToolRail QComboBox QAbstractItemView { background: #0B2542; color: #DCEBF7; border: 1px solid #1D4F7A; selection-background-color: #155A86; selection-color: #FFFFFF; }
QLabel#slabText { color: #AFC6DB; font-size: 10px; }

QFrame[viewport="true"] { background: #000000; border: 1px solid #24384E; border-radius: 4px; }
QFrame[viewport="true"][active="true"] { border: 1px solid #39B4DA; }
QFrame#viewportBar, QFrame#viewportBar QWidget { background: #0B1B2E; border: 0; color: #DCEBF7; }
QFrame#viewportBar QLabel { font-size: 11px; font-weight: 600; }
QFrame#viewportBar QLabel#sliceLabel { color: #AFC6DB; font-weight: 500; }
QFrame#viewportBar QComboBox { background: #12395F; color: #DCEBF7; border: 1px solid #1D4F7A; border-radius: 5px; padding: 0 5px; font-size: 11px; }
QFrame#viewportBar QComboBox::drop-down { width: 16px; }
QFrame#viewportBar QComboBox::down-arrow { width: 10px; height: 10px; margin-right: 4px; }
QFrame#viewportBar QComboBox:disabled { color: #4E6A85; border-color: #163A5A; }
QFrame#viewportBar QComboBox QAbstractItemView { background: #0B2542; color: #DCEBF7; border: 1px solid #1D4F7A; selection-background-color: #155A86; selection-color: #FFFFFF; }
QFrame#viewportBar QComboBox:focus { border: 1px solid #FFFFFF; padding: 0 5px; }
QFrame#viewportBar QToolButton { border: 1px solid transparent; border-radius: 4px; padding: 1px; }
QFrame#viewportBar QToolButton:focus { border-color: #FFFFFF; }
QFrame#viewportBar QToolButton:hover { background: #12395F; }
QFrame#viewportBar QToolButton:checked { background: #155A86; }

QFrame#loadingOverlay { background: #EAF8FC; border: 1px solid #75D2E5; border-radius: 10px; }
QLabel#loadingTitle { font-size: 15px; font-weight: 700; color: #002B5B; }
QLabel#loadingDetail { font-size: 12px; color: #334155; }
QFrame#emptyPage { background: #EEF3F8; border: 1px solid #D8E2EC; border-radius: 12px; }
QLabel#emptyHint { font-size: 15px; color: #475569; }
QLabel#viewNotice { background: rgba(11, 27, 46, 190); color: #DCEBF7; border-radius: 6px; padding: 4px 9px; font-size: 11px; }
QProgressBar { background: #D8E2EC; border: 0; border-radius: 3px; max-height: 6px; }
QProgressBar::chunk { background: #18B6D9; border-radius: 3px; }

QStatusBar { background: #FFFFFF; border-top: 1px solid #D8E2EC; }
QStatusBar::item { border: 0; }
QStatusBar QLabel#statusUnsaved, QStatusBar QLabel#statusUnsynced, QStatusBar QLabel#statusSession { color: #991B1B; background: #FEE2E2; border-radius: 6px; font-weight: 600; }
QStatusBar QLabel#statusNotice { color: #92400E; background: #FEF3C7; border-radius: 6px; font-weight: 600; }
QStatusBar QToolButton { font-size: 12px; color: #002B5B; background: #FFFFFF; border: 1px solid #CBD5E1; border-radius: 6px; padding: 1px 9px; margin-right: 6px; }
QStatusBar QToolButton:hover, QStatusBar QToolButton:focus { border-color: #18B6D9; background: #DFF4FA; }
QStatusBar QLabel { font-size: 12px; color: #475569; padding: 2px 8px; }

QTableWidget { background: #FFFFFF; alternate-background-color: #F7FAFC; border: 1px solid #D8E2EC; gridline-color: #E8EEF4; selection-background-color: #DFF4FA; selection-color: #002B5B; }
QTableWidget { outline: 0; }
QTableWidget::item:selected { background: #DFF4FA; color: #002B5B; }
QHeaderView::section { background: #F1F5F9; color: #334155; border: 0; border-bottom: 1px solid #D8E2EC; padding: 6px 8px; font-weight: 600; }
QLabel#dialogHint, QLabel#keyImageCount { color: #475569; font-size: 12px; }
QListWidget#keyImageList, QListWidget#wordTemplateList { background: #FFFFFF; border: 1px solid #CBD5E1; border-radius: 8px; outline: 0; padding: 4px; }
QListWidget#keyImageList:focus, QListWidget#wordTemplateList:focus { border-color: #18B6D9; }
QListWidget#keyImageList::item { padding: 5px; border-radius: 7px; border-bottom: 1px solid #F1F5F9; color: #0F172A; font-size: 12px; }
QListWidget#wordTemplateList::item { padding: 9px 10px; border-radius: 7px; color: #0F172A; }
QListWidget#keyImageList::item:hover, QListWidget#wordTemplateList::item:hover { background: #F1F8FC; }
QListWidget#keyImageList::item:selected, QListWidget#wordTemplateList::item:selected { background: #DFF4FA; color: #002B5B; }
QScrollArea#keyImageView { background: #0B1B2E; border: 1px solid #24384E; border-radius: 8px; }
QScrollArea#keyImageView > QWidget { background: transparent; }
QLabel#keyImagePicture { color: #DCEBF7; font-size: 13px; }
QFrame#reportContents { background: #FFFFFF; border: 1px solid #D8E2EC; border-radius: 8px; }
QLabel#reportCounts { font-weight: 600; color: #002B5B; }
QFrame#settingsSection { background: #FFFFFF; border: 1px solid #D8E2EC; border-radius: 10px; }
QFrame#settingsSection QLabel, QFrame#settingsSection QCheckBox { background: #FFFFFF; }
QFrame#settingsFooter { background: #F1F5F9; border-top: 1px solid #D8E2EC; }
QDockWidget#diagnosticsPane { font-weight: 600; color: #002B5B; }
QDockWidget#diagnosticsPane::title { background: #F1F5F9; border-left: 1px solid #D8E2EC; border-bottom: 1px solid #D8E2EC; padding: 6px 10px; }
QTabWidget#diagnosticsPages::pane { border: 0; border-top: 1px solid #D8E2EC; }
QTabWidget#diagnosticsPages QTabBar::tab { background: transparent; border: 0; border-bottom: 2px solid transparent; padding: 6px 9px; color: #475569; font-weight: 600; }
QTabWidget#diagnosticsPages QTabBar::tab:hover { color: #002B5B; }
QTabWidget#diagnosticsPages QTabBar::tab:selected { color: #002B5B; border-bottom-color: #18B6D9; }
QTabWidget#diagnosticsPages QTabBar::tab:focus { background: #DFF4FA; }
QTextEdit#diagnosticsReport, QDockWidget#diagnosticsPane QPlainTextEdit, QListWidget#diagnosticsCrashes, QTreeWidget#supportBundleList, QPlainTextEdit#supportBundleContents { background: #FFFFFF; border: 1px solid #CBD5E1; border-radius: 8px; padding: 4px; font-size: 12px; selection-background-color: #DFF4FA; selection-color: #002B5B; }
QTextEdit#diagnosticsReport:focus, QDockWidget#diagnosticsPane QPlainTextEdit:focus, QListWidget#diagnosticsCrashes:focus, QTreeWidget#supportBundleList:focus, QPlainTextEdit#supportBundleContents:focus { border-color: #18B6D9; }
QLabel#diagnosticsSaid, QLabel#diagnosticsTelemetryState { color: #475569; font-size: 12px; }
QLabel#supportBundleSaid { font-weight: 600; color: #002B5B; }
QScrollBar:vertical { background: transparent; width: 10px; margin: 2px; }
QScrollBar::handle:vertical { background: #C4D1DE; border-radius: 4px; min-height: 28px; }
QScrollBar:horizontal { background: transparent; height: 10px; margin: 2px; }
QScrollBar::handle:horizontal { background: #C4D1DE; border-radius: 4px; min-width: 28px; }
QScrollBar::add-line, QScrollBar::sub-line { height: 0; width: 0; }
)")
        .arg(resourcePath(QStringLiteral("icons/chevron-down.svg")));
}

} // namespace zorbel
