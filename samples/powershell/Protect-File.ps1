# Encrypts a file with a key of the caller's, or decrypts it.
#     powershell -File Protect-File.ps1 -Path letter.txt -Destination letter.enc
#     powershell -File Protect-File.ps1 -Path letter.enc -Destination letter.txt -Decrypt
# It asks for the key and ends with 0, or with 1 when the file was refused. It needs the 64-bit PowerShell.
param(
    [Parameter(Mandatory = $true)][string] $Path,
    [Parameter(Mandatory = $true)][string] $Destination,
    [switch] $Decrypt
)

if (-not [Environment]::Is64BitProcess) {
    Write-Error 'the component needs the 64-bit PowerShell'
    exit 1
}
$typed = Read-Host -Prompt 'Key' -AsSecureString
$key = (New-Object System.Net.NetworkCredential('', $typed)).Password

# The component knows nothing of PowerShell's location, so paths go whole.
$from = $ExecutionContext.SessionState.Path.GetUnresolvedProviderPathFromPSPath($Path)
$to = $ExecutionContext.SessionState.Path.GetUnresolvedProviderPathFromPSPath($Destination)

$crypto = New-Object -ComObject TOLVSecCOM.Crypto
if ($Decrypt) {
    $answer = $crypto.decryptFile($from, $to, $key)
} else {
    $answer = $crypto.encryptFile($from, $to, $key)
}
if ($answer -ne 0) {
    Write-Error "$from was refused ($answer)"
    exit 1
}
Write-Output "$to written"
exit 0
