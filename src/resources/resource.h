// The ids of the main window's resources and controls.
#pragma once

inline constexpr int IdMainDialog = 102;
inline constexpr int IdMainIcon = 131;

inline constexpr int IdExit = 1;
inline constexpr int IdEnable = 1001;
inline constexpr int IdAbort = 1002;
inline constexpr int IdImageArea = 1003;
inline constexpr int IdPaintTime = 1004;
inline constexpr int IdScaleCenter = 1005;
inline constexpr int IdScaleWidth = 1006;
inline constexpr int IdOpen = 1007;
inline constexpr int IdNegative = 1008;
inline constexpr int IdInfo = 1009;
inline constexpr int IdZoomIn = 1010;
inline constexpr int IdZoomOut = 1011;
inline constexpr int IdZoomNormal = 1012;
inline constexpr int IdHorizontalBar = 1013;
inline constexpr int IdVerticalBar = 1014;
inline constexpr int IdTestImageMode = 1015;
inline constexpr int IdNoGainCheck = 1016;
inline constexpr int IdSaveRawFiles = 1017;
inline constexpr int IdAutoEnable = 1018;
inline constexpr int IdEightBitRead = 1019;
inline constexpr int IdGamma = 1020;
inline constexpr int IdSettings = 1021;
inline constexpr int IdLutWindowWidth = 1022;
inline constexpr int IdAutoSaveImages = 1023;
inline constexpr int IdInspect = 1024;
