@echo off
rem Builds everything with Visual Studio 2022 and runs the tests that a Windows machine can run as it is: those of the
rem label "standalone". The others put a TWAIN manager of their own into the Windows folder, and run under Wine
rem (scripts/test.sh). What the tests include of other projects comes from vcpkg.
setlocal
cd /d "%~dp0\.."

if not defined VCPKG_ROOT set "VCPKG_ROOT=%VCPKG_INSTALLATION_ROOT%"
if not exist "%VCPKG_ROOT%\vcpkg.exe" (
  echo test.cmd: there is no vcpkg. Set VCPKG_ROOT to the folder of your clone of it. 1>&2
  exit /b 1
)
"%VCPKG_ROOT%\vcpkg.exe" install --triplet x86-windows --x-manifest-root=tests --x-install-root=build\vcpkg || exit /b 1
cmake --preset msvc-x86 "-DCMAKE_PREFIX_PATH=%CD%\build\vcpkg\x86-windows" || exit /b 1
cmake --build --preset msvc-x86 || exit /b 1
ctest --test-dir build\msvc-x86 -C Release -L standalone --no-tests=error --output-on-failure %*
