// swift-tools-version: 5.9
// What Flutter's tool builds when an application uses the Swift package manager. The same sources
// as in ../nimbrel.podspec.
import PackageDescription

let package = Package(
  name: "nimbrel",
  platforms: [.iOS("13.0")],
  products: [.library(name: "nimbrel", targets: ["nimbrel"])],
  dependencies: [.package(name: "FlutterFramework", path: "../FlutterFramework")],
  targets: [
    .target(
      name: "nimbrel",
      dependencies: [.product(name: "FlutterFramework", package: "FlutterFramework")],
      // The plug-in proper, by links: PluginSources.cpp brings its sources in.
      exclude: ["Classes", "platform"],
      resources: [.process("PrivacyInfo.xcprivacy")],
      cxxSettings: [.headerSearchPath(".")],
      linkerSettings: [.linkedFramework("CoreBluetooth"), .linkedFramework("CoreLocation")]
    )
  ],
  cxxLanguageStandard: .cxx20
)
