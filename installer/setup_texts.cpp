#include "installer/setup_texts.h"

#include <windows.h>

#include <cwchar>

namespace orva_accelerator::installer {

namespace {

struct Texts {
  Text text;
  const wchar_t* english;
  const wchar_t* chinese;
};

constexpr Texts kTexts[] = {
    {Text::NewerVersion, L"A newer version is installed. Nothing has been changed. ",
     L"已安装更新的版本。未做任何更改。"},
    {Text::NoSpace, L"There is not enough space on the disk. Nothing has been changed. ",
     L"磁盘空间不足。未做任何更改。"},
    {Text::RealLibrary,
     L"The acceleration library is installed here. The developer package would replace it by a "
     L"simulation. Nothing has been changed. ",
     L"此处已安装加速库，开发者安装包会用模拟库替换它。未做任何更改。"},
    {Text::ShadowingProgram,
     L"Windows would start another program in place of the service, whose registered path has no "
     L"quotation marks. Remove it: ",
     L"由于服务的注册路径没有引号，Windows 会启动另一个程序来代替该服务。请将其删除："},
    {Text::StateUnknown, L"The service manager does not answer. Nothing has been changed. ",
     L"服务管理器没有响应。未做任何更改。"},
    {Text::NotStopped,
     L"The running Orva Accelerator Service cannot be stopped. Nothing has been changed. ",
     L"无法停止正在运行的 Orva Accelerator Service。未做任何更改。"},
    {Text::NotDisabled,
     L"The service's registration cannot be changed. Close all windows that show services and try "
     L"again. Nothing has been changed. Error code: ",
     L"无法更改服务的注册信息。请关闭所有显示服务的窗口后重试。未做任何更改。错误代码："},
    {Text::FileInUse, L"This file is in use. Nothing has been changed. ",
     L"此文件正在使用。未做任何更改。"},
    {Text::ForeignFolder,
     L"This folder was not made by an administrator. Nothing has been changed. Look what is in it, "
     L"and remove it: ",
     L"此文件夹不是由管理员创建的。未做任何更改。请检查其内容并将其删除："},
    {Text::FolderNotSecured, L"The access rights of this cannot be set: ",
     L"无法设置以下项目的访问权限："},
    {Text::NotKept,
     L"This file of the installed version cannot be copied. Nothing has been changed. ",
     L"无法复制已安装版本的此文件。未做任何更改。"},
    {Text::NotRegistered,
     L"The service cannot be registered. Close all windows that show services and try again. ",
     L"无法注册服务。请关闭所有显示服务的窗口后重试。"},
    {Text::NotUnregistered, L"The service's registration cannot be removed. Error code: ",
     L"无法删除服务的注册信息。错误代码："},
};

}  // namespace

Language languageOf(const std::wstring& userLanguage) {
  const auto identifier = static_cast<LANGID>(std::wcstoul(userLanguage.c_str(), nullptr, 10));
  return PRIMARYLANGID(identifier) == LANG_CHINESE ? Language::Chinese : Language::English;
}

std::wstring textIn(Language language, Text text) {
  for (const Texts& texts : kTexts) {
    if (texts.text == text) {
      return language == Language::Chinese ? texts.chinese : texts.english;
    }
  }
  return {};
}

}  // namespace orva_accelerator::installer
