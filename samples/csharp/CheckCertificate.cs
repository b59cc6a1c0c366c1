// Shows a container's certificate, and checks it against the chain of its issuers and a revocation list.
//     csc /platform:x64 CheckCertificate.cs
// Usage: CheckCertificate CONTAINER [CHAIN-FILE [CRL-FILE]]
//
// The project has to be x64 (or AnyCPU without "prefer 32-bit"): a 32-bit program cannot load the component. The calls
// go by name, so nothing has to be imported; the object must be created on a thread that is [STAThread].
using System;
using System.Runtime.InteropServices;

static class CheckCertificate
{
    [STAThread]
    static int Main(string[] arguments)
    {
        if (arguments.Length < 1 || arguments.Length > 3)
        {
            Console.Error.WriteLine("usage: CheckCertificate CONTAINER [CHAIN-FILE [CRL-FILE]]");
            return 2;
        }
        Type type = Type.GetTypeFromProgID("TOLVSecCOM.Certificate");
        if (type == null)
        {
            Console.Error.WriteLine("TOLVSecCOM.Certificate is not registered");
            return 1;
        }
        dynamic certificate = Activator.CreateInstance(type);
        try
        {
            return Show(certificate, arguments);
        }
        finally
        {
            Marshal.ReleaseComObject(certificate);
        }
    }

    static int Show(dynamic certificate, string[] arguments)
    {
        // 5 takes the signing certificate. The answer is 0 or an error number, never an exception.
        if (certificate.importCert(arguments[0], (short)5, "") != 0)
        {
            Console.Error.WriteLine("no plugged-in key gives a certificate for " + arguments[0]);
            return 1;
        }
        Console.WriteLine("subject    " + certificate.getBasicCertInfoByOID((short)7));
        Console.WriteLine("issuer     " + certificate.getBasicCertInfoByOID((short)4));
        Console.WriteLine("valid to   " + certificate.getBasicCertInfoByOID((short)6));
        Console.WriteLine("days left  " + certificate.checkValidaty(""));
        if (arguments.Length == 1) return 0;

        string revoked = arguments.Length > 2 ? arguments[2] : "";
        int answer = certificate.validateCert(arguments[1], revoked);
        Console.WriteLine("checked    " + answer);
        return answer == 0 ? 0 : 1;
    }
}
