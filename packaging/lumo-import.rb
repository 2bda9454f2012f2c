# Homebrew's formula: a template. A release puts its page in `url` and the sum of the archive of sources, which stands
# in SHA256SUMS, in `sha256`.
class LumoImport < Formula
  desc "Summarise, check and convert the files of Bayes nets and decision networks"
  homepage "https://example.org/lumo-import"
  url "https://example.org/lumo-import/releases/lumo-import-@VERSION@.tar.xz"
  sha256 "@SHA256_SOURCE@"
  license "MIT"

  depends_on "cli11" => :build
  depends_on "cmake" => :build
  depends_on macos: :ventura

  def install
    system "cmake", "-S", ".", "-B", "build", "-DLUMO_BUILD_TESTS=OFF", "-DLUMO_IMAGES=OFF", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  test do
    (testpath/"coin.uai").write <<~NET
      BAYES
      1
      2
      1
      1 0
      2
      0.5 0.5
    NET
    assert_match "1 nature", shell_output("#{bin}/lumo-import coin.uai")
  end
end
