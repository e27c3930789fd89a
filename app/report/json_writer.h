// Writes one flat JSON object that can stand inside an HTML page.
#ifndef VANTRO_APP_REPORT_JSON_WRITER_H_
#define VANTRO_APP_REPORT_JSON_WRITER_H_

#include <string>
#include <string_view>

namespace vantro::app {

class JsonWriter {
 public:
  void Text(std::string_view name, std::string_view value);
  void Number(std::string_view name, double value);
  void StartList(std::string_view name);
  void Item(double value, int decimals);  // without trailing zeros
  void Item(std::string_view text);
  void EndList();
  std::string Finish();

 private:
  void Name(std::string_view name);
  void Separate();
  void Quoted(std::string_view text);

  std::string text_ = "{";
  bool first_ = true;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_REPORT_JSON_WRITER_H_
